// Tasks of the engine, their identity in the task tree, and the queue of
// tasks that are available but not yet released to a time stamp.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace treesearch {

class AbstractMachineGlobalData;
class AbstractTimeStampData;

// Client-defined facts about a task that the task manager may read.
class AbstractTaskInfo {
 public:
  virtual ~AbstractTaskInfo();
};

// What exists only while a task runs.
class TaskDynamicData {
 public:
  virtual ~TaskDynamicData();
  // Data of the task's starting stamp: the only published state the task
  // may read. It is frozen for as long as the task runs.
  AbstractTimeStampData* time_stamp_data = nullptr;
};

// Clients derive from this class as a virtual base.
class AbstractTask {
 public:
  // Identity of a task in the task tree; outlives the task while
  // descendants refer to it.
  struct TaskNode {
    long id = -1;
    std::shared_ptr<TaskNode> father;
    long depth = 0;
    long child_index = 0;
    long next_child_index = 0;
    // Decimal id without father, otherwise "<father>_<child_index>". Unlike
    // the id it depends only on the place in the tree.
    std::string get_string_id() const;
  };

  explicit AbstractTask(AbstractMachineGlobalData& machine);
  AbstractTask(AbstractTask const&) = delete;
  AbstractTask& operator=(AbstractTask const&) = delete;

  virtual std::unique_ptr<TaskDynamicData> new_dynamic_data() const;
  // Task destructors run when the task ends or with the machine; they must
  // not call into the machine.
  virtual ~AbstractTask();
  virtual std::unique_ptr<AbstractTaskInfo> new_task_info() const;
  // Smaller vectors are better. Must depend only on the task's own data.
  virtual std::vector<double> get_priority() const;
  virtual double get_depth() const;
  // Number of stamps after its starting stamp at which the task publishes;
  // at least 1. Must be decided from counted work, never measured time.
  virtual long get_targeted_time_stamp() = 0;
  virtual std::string get_string_id() const;
  virtual std::string get_extra_info(TaskDynamicData const& dynamic_data) const;
  virtual void run() = 0;

  // This task becomes available only after `predecessor` has ended and its
  // final targeted stamp is reached. Call before this task is added.
  void add_predecessor(AbstractTask& predecessor);

  // Order of two nodes by their places in the tree: true when `b` comes
  // first. Walks up to the level where the paths part.
  static bool compare(std::shared_ptr<TaskNode> const& a, std::shared_ptr<TaskNode> const& b);

  AbstractMachineGlobalData& get_machine() const { return machine_; }
  std::shared_ptr<TaskNode> const& get_node() const { return node_; }
  AbstractTaskInfo* get_task_info() const { return task_info_.get(); }
  long get_number_of_predecessors() const { return number_of_predecessors_; }
  std::vector<AbstractTask*> const& get_successors() const { return successors_; }

 private:
  friend class AbstractMachineGlobalData;

  AbstractMachineGlobalData& machine_;
  std::shared_ptr<TaskNode> node_;
  std::unique_ptr<AbstractTaskInfo> task_info_;
  long number_of_predecessors_ = 0;
  std::vector<AbstractTask*> successors_;  // not owned
};

// Strict weak order for a heap whose top is the best task: true means `b` is
// better than `a`. Priorities first, then the places in the tree; task ids
// decide only between tasks without father, which are added before a run.
struct PriorityTaskComparator {
  bool operator()(AbstractTask const& a, AbstractTask const& b) const;
  bool operator()(std::unique_ptr<AbstractTask> const& a,
                  std::unique_ptr<AbstractTask> const& b) const {
    return (*this)(*a, *b);
  }
};

class AbstractMachineTaskManager {
 public:
  explicit AbstractMachineTaskManager(AbstractMachineGlobalData& machine) : machine_(machine) {}
  AbstractMachineTaskManager(AbstractMachineTaskManager const&) = delete;
  AbstractMachineTaskManager& operator=(AbstractMachineTaskManager const&) = delete;
  virtual ~AbstractMachineTaskManager();
  virtual long get_number_of_tasks() const = 0;
  virtual void add_task(std::unique_ptr<AbstractTask>&& task) = 0;
  // The best task, or an empty pointer when there is none.
  virtual std::unique_ptr<AbstractTask> pop_best_task() = 0;

 protected:
  AbstractMachineGlobalData& machine_;
};

// Best-first queue: a binary heap under PriorityTaskComparator.
class BfsMachineTaskManager : public AbstractMachineTaskManager {
 public:
  using AbstractMachineTaskManager::AbstractMachineTaskManager;
  long get_number_of_tasks() const override { return static_cast<long>(heap_.size()); }
  void add_task(std::unique_ptr<AbstractTask>&& task) override;
  std::unique_ptr<AbstractTask> pop_best_task() override;
  AbstractTask const* get_best_task() const;

 private:
  std::vector<std::unique_ptr<AbstractTask>> heap_;
};

}  // namespace treesearch
