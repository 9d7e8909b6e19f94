#include "treesearch/task.h"

#include <algorithm>
#include <mutex>

#include "treesearch/machine.h"

namespace treesearch {

AbstractTaskInfo::~AbstractTaskInfo() = default;
TaskDynamicData::~TaskDynamicData() = default;
AbstractTask::~AbstractTask() = default;
AbstractMachineTaskManager::~AbstractMachineTaskManager() = default;

std::string AbstractTask::TaskNode::get_string_id() const {
  // Iterative: deep dives must not recurse once per level.
  std::vector<long> path;
  TaskNode const* n = this;
  for (; n->father; n = n->father.get()) path.push_back(n->child_index);
  std::string id = std::to_string(n->id);
  for (auto it = path.rbegin(); it != path.rend(); ++it) {
    id += '_';
    id += std::to_string(*it);
  }
  return id;
}

AbstractTask::AbstractTask(AbstractMachineGlobalData& machine) : machine_(machine) {}

std::unique_ptr<TaskDynamicData> AbstractTask::new_dynamic_data() const {
  return std::make_unique<TaskDynamicData>();
}

std::unique_ptr<AbstractTaskInfo> AbstractTask::new_task_info() const {
  return std::make_unique<AbstractTaskInfo>();
}

std::vector<double> AbstractTask::get_priority() const { return {}; }

double AbstractTask::get_depth() const { return -1.0; }

std::string AbstractTask::get_string_id() const {
  return node_ ? node_->get_string_id() : std::string();
}

std::string AbstractTask::get_extra_info(TaskDynamicData const&) const { return std::string(); }

void AbstractTask::add_predecessor(AbstractTask& predecessor) {
  // The predecessor may be running on another thread.
  std::lock_guard<std::mutex> lock(machine_.mutex_);
  ++number_of_predecessors_;
  predecessor.successors_.push_back(this);
}

bool AbstractTask::compare(std::shared_ptr<TaskNode> const& a, std::shared_ptr<TaskNode> const& b) {
  TaskNode const* x = a.get();
  TaskNode const* y = b.get();
  while (x->depth == y->depth && x->father != y->father) {
    x = x->father.get();
    y = y->father.get();
  }
  if (x->depth != y->depth) return x->depth < y->depth;
  return x->father ? x->child_index > y->child_index : x->id > y->id;
}

bool PriorityTaskComparator::operator()(AbstractTask const& a, AbstractTask const& b) const {
  std::vector<double> pa = a.get_priority();
  std::vector<double> pb = b.get_priority();
  if (pa != pb) return std::lexicographical_compare(pb.begin(), pb.end(), pa.begin(), pa.end());
  auto const& na = a.get_node();
  auto const& nb = b.get_node();
  if (na->depth != nb->depth) return na->depth < nb->depth;
  if (na->father == nb->father)
    return na->father ? na->child_index > nb->child_index : na->id > nb->id;
  return AbstractTask::compare(na, nb);
}

void BfsMachineTaskManager::add_task(std::unique_ptr<AbstractTask>&& task) {
  heap_.push_back(std::move(task));
  std::push_heap(heap_.begin(), heap_.end(), PriorityTaskComparator());
}

std::unique_ptr<AbstractTask> BfsMachineTaskManager::pop_best_task() {
  if (heap_.empty()) return nullptr;
  std::pop_heap(heap_.begin(), heap_.end(), PriorityTaskComparator());
  std::unique_ptr<AbstractTask> task = std::move(heap_.back());
  heap_.pop_back();
  return task;
}

AbstractTask const* BfsMachineTaskManager::get_best_task() const {
  return heap_.empty() ? nullptr : heap_.front().get();
}

}  // namespace treesearch
