#include "treesearch/node_manager.h"

#include <algorithm>
#include <utility>

namespace treesearch {

AbstractNode::~AbstractNode() = default;

double AbstractNode::get_priority() const { return 0.0; }

std::string AbstractNode::get_string_id() const {
  // Iterative: deep dives must not recurse once per level.
  std::vector<long> path;
  for (AbstractNode const* n = this; n != nullptr; n = n->father.get()) path.push_back(n->child_index);
  std::string id;
  for (auto it = path.rbegin(); it != path.rend(); ++it) {
    if (!id.empty()) id += '_';
    id += std::to_string(*it);
  }
  return id;
}

AbstractLocalNodeManager::~AbstractLocalNodeManager() = default;

DfsLocalNodeManager::DfsLocalNodeManager(std::shared_ptr<AbstractNode> root,
                                         Parameters const& parameters)
    : AbstractLocalNodeManager(std::move(root)), parameters_(parameters) {}

void DfsLocalNodeManager::add_node(std::shared_ptr<AbstractNode> const& node) {
  long root_depth = root_ ? root_->depth : 0;
  if (parameters_.max_depth_below_root != -1 &&
      node->depth > root_depth + parameters_.max_depth_below_root) {
    handed_off_nodes_.push_back(node);
    return;
  }
  if (parameters_.max_children_rank != -1 && node != root_ &&
      parameters_.max_children_rank < node->later_siblings) {
    handed_off_nodes_.push_back(node);
    return;
  }
  // Sink the new node below shallower-or-equal neighbours of higher
  // priority, so that the top is the deepest node and, among equals, the
  // one of highest priority.
  local_stack_.push_back(node);
  double priority = node->get_priority();
  for (std::size_t i = local_stack_.size() - 1; i > 0; --i) {
    AbstractNode const& below = *local_stack_[i - 1];
    if (below.depth < node->depth || !(priority < below.get_priority())) break;
    std::swap(local_stack_[i], local_stack_[i - 1]);
  }
  deepest_depth_ = std::max(deepest_depth_, node->depth);
}

std::shared_ptr<AbstractNode> DfsLocalNodeManager::pop_best_node() {
  if (local_stack_.empty()) {
    if (handed_off_nodes_.empty()) return nullptr;
    std::shared_ptr<AbstractNode> node = std::move(handed_off_nodes_.back());
    handed_off_nodes_.pop_back();
    return node;
  }
  std::shared_ptr<AbstractNode> node = std::move(local_stack_.back());
  local_stack_.pop_back();
  ++popped_nodes_;
  if (last_popped_depth_ != -1 && last_popped_depth_ >= node->depth) ++backtracks_;
  last_popped_depth_ = node->depth;
  return node;
}

long DfsLocalNodeManager::get_number_of_nodes() const {
  return static_cast<long>(local_stack_.size() + handed_off_nodes_.size());
}

bool DfsLocalNodeManager::stop() const {
  Parameters const& p = parameters_;
  if (local_stack_.empty()) return true;
  if (p.max_popped_nodes != -1 && p.max_popped_nodes <= popped_nodes_) return true;
  if (p.min_popped_nodes != -1 && p.min_popped_nodes > popped_nodes_) return false;
  long top_depth = local_stack_.back()->depth;
  if (p.max_depth_gap != -1 && deepest_depth_ - p.max_depth_gap > top_depth) return true;
  if (p.max_backtracks == -1) return false;
  bool next_pop_backtracks = last_popped_depth_ != -1 && last_popped_depth_ >= top_depth;
  return next_pop_backtracks && p.max_backtracks <= backtracks_;
}

}  // namespace treesearch
