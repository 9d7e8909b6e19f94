// Search-tree nodes and the depth-first manager of the nodes one task keeps
// for itself; what it does not keep is handed off to become new tasks.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace treesearch {

class AbstractNode {
 public:
  AbstractNode() = default;
  AbstractNode(AbstractNode const&) = delete;
  AbstractNode& operator=(AbstractNode const&) = delete;
  virtual ~AbstractNode();
  virtual double get_priority() const;
  // Decimal child index for a node without father, otherwise the father's
  // string, an underscore and the child index.
  virtual std::string get_string_id() const;

  std::shared_ptr<AbstractNode> father;
  long depth = 0;
  long child_index = 0;
  // How many of the father's children were created after this one.
  long later_siblings = 0;
};

class AbstractLocalNodeManager {
 public:
  explicit AbstractLocalNodeManager(std::shared_ptr<AbstractNode> root) : root_(std::move(root)) {}
  AbstractLocalNodeManager(AbstractLocalNodeManager const&) = delete;
  AbstractLocalNodeManager& operator=(AbstractLocalNodeManager const&) = delete;
  virtual ~AbstractLocalNodeManager();
  virtual void add_node(std::shared_ptr<AbstractNode> const& node) = 0;
  virtual std::shared_ptr<AbstractNode> pop_best_node() = 0;
  virtual long get_number_of_nodes() const = 0;
  virtual long get_number_of_popped_nodes() const = 0;
  virtual bool stop() const = 0;

  std::shared_ptr<AbstractNode> const& get_root() const { return root_; }

 protected:
  std::shared_ptr<AbstractNode> root_;
};

class DfsLocalNodeManager : public AbstractLocalNodeManager {
 public:
  // Each limit is -1 for "no limit".
  struct Parameters {
    long max_depth_below_root = -1;
    long max_children_rank = -1;
    long max_popped_nodes = -1;
    long min_popped_nodes = -1;
    long max_depth_gap = -1;
    long max_backtracks = -1;
  };

  DfsLocalNodeManager(std::shared_ptr<AbstractNode> root, Parameters const& parameters);

  // Keeps the node on the stack, or hands it off when it lies too deep below
  // the root or too late among its siblings.
  void add_node(std::shared_ptr<AbstractNode> const& node) override;
  // Top of the stack; once the stack is empty, the last handed-off node.
  std::shared_ptr<AbstractNode> pop_best_node() override;
  long get_number_of_nodes() const override;
  long get_number_of_popped_nodes() const override { return popped_nodes_; }
  bool stop() const override;
  Parameters const& get_parameters() const { return parameters_; }

  std::vector<std::shared_ptr<AbstractNode>> const& local_stack() const { return local_stack_; }
  std::vector<std::shared_ptr<AbstractNode>> const& handed_off_nodes() const { return handed_off_nodes_; }
  long get_number_of_backtracks() const { return backtracks_; }

 private:
  Parameters parameters_;
  std::vector<std::shared_ptr<AbstractNode>> local_stack_;
  std::vector<std::shared_ptr<AbstractNode>> handed_off_nodes_;
  long popped_nodes_ = 0;
  long backtracks_ = 0;
  long last_popped_depth_ = -1;
  long deepest_depth_ = -1;
};

}  // namespace treesearch
