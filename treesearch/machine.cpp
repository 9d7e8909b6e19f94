// The machine: construction, the run, the calls made by tasks, the merges at
// stamp changes and the chart output.
#include "treesearch/machine.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace treesearch {

namespace {

long initial_tasks_limit(AbstractMachineGlobalData::Parameters const& p) {
  return p.number_of_threads == 1 ? 1 : p.tasks_per_time_stamp;
}

}  // namespace

AbstractTimeStampData::AbstractTimeStampData(AbstractMachineGlobalData const& machine)
    : solution_pool(std::make_unique<SolutionPool>(machine, 10)),
      tasks_limit(initial_tasks_limit(machine.get_parameters())) {}

AbstractTimeStampData::~AbstractTimeStampData() = default;

AbstractMachineGlobalData::AbstractMachineGlobalData(Parameters const& parameters)
    : parameters_(parameters), start_time_(Clock::now()), time_stamp_datas_(10) {
  if (parameters_.number_of_threads < 1)
    throw std::invalid_argument("The number of threads must be at least 1.");
  std::signal(SIGINT, &AbstractMachineGlobalData::sigint_handler);
}

AbstractMachineGlobalData::~AbstractMachineGlobalData() = default;

int AbstractMachineGlobalData::run() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (has_run_) throw std::logic_error("'run' can be called only once per machine.");
    has_run_ = true;
    task_manager_ = create_task_manager();
    time_stamp_datas_[-1] = new_time_stamp_data();
    time_stamp_datas_[0] = new_time_stamp_data();
    advance_time_stamp(false);
  }
  run_threads();
  flush_published_data();
  if (!parameters_.gantt_chart_prefix.empty()) write_gantt_chart_output();
  if (foreign_exception_) std::rethrow_exception(foreign_exception_);
  return exit_status_;
}

void AbstractMachineGlobalData::run_threads() {
  long n = parameters_.number_of_threads;
  if (n == 1) {
    start_new_thread(0);
    return;
  }
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(n));
  try {
    for (long id = 0; id < n; ++id) threads.emplace_back([this, id] { start_new_thread(id); });
  } catch (...) {
    // Could not start every thread: stop the ones that run, then report.
    end_requested_ = true;
    condition_.notify_all();
    for (std::thread& t : threads) t.join();
    throw;
  }
  for (std::thread& t : threads) t.join();
}

// Brings what was published into later stamps into the last one. After a
// normal end this is the usual stamp change. After an end request the tasks
// are not released and the callback is not called, but the data are still
// merged so that the solutions found before the stop are kept.
void AbstractMachineGlobalData::flush_published_data() {
  std::lock_guard<std::mutex> lock(mutex_);
  bool stopped = end_requested_ || terminated_by_sigint();
  while (time_stamp_datas_.count(current_time_stamp_ + 1) != 0) {
    if (!stopped) {
      advance_time_stamp(true);
      continue;
    }
    merge_time_stamp_datas_0();
    merge_time_stamp_datas();
    ++current_time_stamp_;
  }
}

void AbstractMachineGlobalData::add_task(AbstractTask const* father,
                                         std::unique_ptr<AbstractTask>&& task) {
  if (!task) throw std::invalid_argument("Input task must not be 'nullptr'.");
  std::lock_guard<std::mutex> lock(mutex_);
  long k = task->get_targeted_time_stamp();
  if (k < 1) {
    throw std::invalid_argument(
        "A task can only target time stamps greater or equal to its starting time stamp + 1. "
        "Added task " + std::to_string(next_task_id_) + " targets its starting time stamp + " +
        std::to_string(k));
  }
  RunningTaskData const* father_data = nullptr;
  if (father != nullptr && father->node_) {
    auto it = running_task_datas_.find(father->node_->id);
    if (it != running_task_datas_.end() && it->second->task.get() == father) father_data = it->second.get();
  }
  auto node = std::make_shared<AbstractTask::TaskNode>();
  node->id = next_task_id_++;
  if (father_data != nullptr) {
    node->father = father->node_;
    node->depth = father->node_->depth + 1;
    node->child_index = father->node_->next_child_index++;
  }
  task->node_ = node;
  if (father != nullptr && father_data == nullptr) {
    throw std::invalid_argument(
        "The father of a task must be a currently running task. Task '" +
        task->get_string_id() + "', id: '" + std::to_string(node->id) + "'. Father: '" +
        father->get_string_id() + "' id '" +
        std::to_string(father->node_ ? father->node_->id : -1));
  }
  if (!task->task_info_) task->task_info_ = task->new_task_info();
  // A child can never start before its father's results are merged.
  long available = father_data != nullptr ? father_data->targeted_time_stamp : 0;
  if (not_yet_available_tasks_.count(node->id) != 0) {
    throw std::invalid_argument("'not_yet_available_tasks_' already contains id '" +
                                std::to_string(node->id));
  }
  auto waiting = std::make_unique<NotYetAvailableTaskData>();
  waiting->available_time_stamp = available;
  waiting->remaining_predecessors = task->number_of_predecessors_;
  waiting->task = std::move(task);
  not_yet_available_tasks_.emplace(node->id, std::move(waiting));
}

TaskDynamicData& AbstractMachineGlobalData::get_task_dynamic_data(AbstractTask const& task) {
  std::lock_guard<std::mutex> lock(mutex_);
  return *running_task_data_unlocked(task).dynamic_data;
}

long AbstractMachineGlobalData::get_task_position(AbstractTask const& task) {
  std::lock_guard<std::mutex> lock(mutex_);
  return running_task_data_unlocked(task).position;
}

long AbstractMachineGlobalData::get_task_thread_id(AbstractTask const& task) {
  std::lock_guard<std::mutex> lock(mutex_);
  return running_task_data_unlocked(task).thread_id;
}

void AbstractMachineGlobalData::update_next_targeted_time_stamp_data(
    AbstractTask const& task, std::function<void(AbstractTimeStampData&)> const& update) {
  std::lock_guard<std::mutex> lock(mutex_);
  update(time_stamp_data_unlocked(running_task_data_unlocked(task).targeted_time_stamp));
}

void AbstractMachineGlobalData::change_targeted_time_stamp(AbstractTask const& task, long delta) {
  if (delta < 1) {
    long id = task.node_ ? task.node_->id : -1;
    throw std::invalid_argument(
        "A task can only change for a targeted time stamps greater or equal to its current "
        "targeted time stamp + 1. " + std::to_string(id) +
        " changed its targeted time stamp to its current time stamp + " + std::to_string(delta));
  }
  if (parameters_.number_of_threads == 1) return;
  finish_targeted_time_stamp(task, delta);
}

double AbstractMachineGlobalData::get_elapsed_time() const {
  return seconds_since_start(Clock::now());
}

double AbstractMachineGlobalData::seconds_since_start(Clock::time_point t) const {
  return std::chrono::duration<double>(t - start_time_).count();
}

long AbstractMachineGlobalData::get_current_time_stamp() {
  std::lock_guard<std::mutex> lock(mutex_);
  return current_time_stamp_;
}

AbstractTimeStampData& AbstractMachineGlobalData::get_current_time_stamp_data() {
  std::lock_guard<std::mutex> lock(mutex_);
  return current_time_stamp_data_unlocked();
}

AbstractTimeStampData& AbstractMachineGlobalData::get_next_time_stamp_data() {
  std::lock_guard<std::mutex> lock(mutex_);
  return next_time_stamp_data_unlocked();
}

AbstractTimeStampData& AbstractMachineGlobalData::get_time_stamp_data(long time_stamp) {
  std::lock_guard<std::mutex> lock(mutex_);
  return time_stamp_data_unlocked(time_stamp);
}

long AbstractMachineGlobalData::get_number_of_remaining_tasks() {
  std::lock_guard<std::mutex> lock(mutex_);
  return remaining_tasks_unlocked();
}

long AbstractMachineGlobalData::get_number_of_started_tasks() {
  std::lock_guard<std::mutex> lock(mutex_);
  return number_of_started_tasks_;
}

long AbstractMachineGlobalData::get_number_of_finished_tasks() {
  std::lock_guard<std::mutex> lock(mutex_);
  return number_of_finished_tasks_;
}

AbstractMachineGlobalData::Timers AbstractMachineGlobalData::get_timers() {
  std::lock_guard<std::mutex> lock(mutex_);
  return timers_;
}

bool AbstractMachineGlobalData::end_requested() { return end_requested_; }

long AbstractMachineGlobalData::remaining_tasks_unlocked() const {
  long managed = task_manager_ ? task_manager_->get_number_of_tasks() : 0;
  return managed + static_cast<long>(current_time_stamp_tasks_.size()) +
         static_cast<long>(not_yet_available_tasks_.size()) + number_of_running_tasks_;
}

AbstractTimeStampData& AbstractMachineGlobalData::time_stamp_data_unlocked(long time_stamp) {
  auto it = time_stamp_datas_.find(time_stamp);
  if (it == time_stamp_datas_.end()) {
    throw std::out_of_range("'get_time_stamp_data' called for time stamp '" +
                            std::to_string(time_stamp) + "' but doesn't contain it.");
  }
  return *it->second;
}

AbstractTimeStampData& AbstractMachineGlobalData::current_time_stamp_data_unlocked() {
  return time_stamp_data_unlocked(current_time_stamp_);
}

AbstractTimeStampData& AbstractMachineGlobalData::next_time_stamp_data_unlocked() {
  return time_stamp_data_unlocked(current_time_stamp_ + 1);
}

std::unique_ptr<AbstractMachineTaskManager> AbstractMachineGlobalData::create_task_manager() {
  return std::make_unique<BfsMachineTaskManager>(*this);
}

std::unique_ptr<AbstractTimeStampData> AbstractMachineGlobalData::new_time_stamp_data() {
  return std::make_unique<AbstractTimeStampData>(*this);
}

void AbstractMachineGlobalData::merge_time_stamp_datas() {}

void AbstractMachineGlobalData::merge_time_stamp_datas_0() {
  AbstractTimeStampData& current = current_time_stamp_data_unlocked();
  AbstractTimeStampData& next = next_time_stamp_data_unlocked();
  for (auto const& solution : current.solution_pool->solutions()) next.solution_pool->add(solution);
  next.highest_depth = std::max(next.highest_depth, current.highest_depth);
  next.processed_nodes += current.processed_nodes;
  next.created_nodes += current.created_nodes;
  next.node_time += current.node_time;
}

void AbstractMachineGlobalData::merge_tasks() {
  std::vector<std::unique_ptr<AbstractTask>> ready;
  for (auto it = not_yet_available_tasks_.begin(); it != not_yet_available_tasks_.end();) {
    NotYetAvailableTaskData& waiting = *it->second;
    if (waiting.remaining_predecessors == 0 && waiting.available_time_stamp <= current_time_stamp_) {
      ready.push_back(std::move(waiting.task));
      it = not_yet_available_tasks_.erase(it);
    } else {
      ++it;
    }
  }
  // The map's order is the hash order; hand the tasks over in the tasks'
  // own order so that no manager can see it.
  std::sort(ready.begin(), ready.end(), PriorityTaskComparator());
  for (auto& task : ready) task_manager_->add_task(std::move(task));
  long limit = current_time_stamp_data_unlocked().tasks_limit;
  while (static_cast<long>(current_time_stamp_tasks_.size()) < limit &&
         task_manager_->get_number_of_tasks() > 0) {
    std::unique_ptr<AbstractTask> task = task_manager_->pop_best_task();
    if (!task) break;
    current_time_stamp_tasks_.push_back(std::move(task));
  }
  std::reverse(current_time_stamp_tasks_.begin(), current_time_stamp_tasks_.end());
}

void AbstractMachineGlobalData::time_stamp_change_callback() {
  AbstractTimeStampData const& data = current_time_stamp_data_unlocked();
  std::ostringstream out;
  out << "Pass to time stamp " << current_time_stamp_ << "; Time: " << get_elapsed_time() << ".\n"
      << "Tasks -" << " Not yet: " << not_yet_available_tasks_.size()
      << "; Task manager: " << task_manager_->get_number_of_tasks()
      << "; Current: " << current_time_stamp_tasks_.size()
      << "; Running: " << number_of_running_tasks_
      << "; Finished: " << number_of_finished_tasks_ << ".\n"
      << "Nodes -" << " Created nodes: " << data.created_nodes
      << "; Processed nodes: " << data.processed_nodes
      << "; Unprocessed nodes: " << data.created_nodes - data.processed_nodes << ".\n";
  print(out.str());
}

void AbstractMachineGlobalData::print(std::string const& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void AbstractMachineGlobalData::print_error(std::string const& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

void AbstractMachineGlobalData::write_gantt_chart_output() {
  std::string name = parameters_.gantt_chart_prefix + "_tasks.csv";
  std::ofstream tasks(name);
  if (!tasks) throw std::runtime_error("Unable to open file \"" + name + "\".");
  tasks << "TASK;POSITION;START;END;THREAD;TIME_STAMP;TARGETED_TIME_STAMP;NODE_ID;"
           "FATHER_NODE_ID;EXTRA\n";
  for (GanttTask const& t : gantt_tasks_) {
    tasks << t.task_id << ';' << t.position << ';' << t.start << ';' << t.end << ';'
          << t.thread_id << ';' << t.starting_time_stamp << ';' << t.targeted_time_stamp << ';'
          << t.node_id << ';' << t.father_node_id << ';' << t.extra_info << '\n';
  }
  tasks.close();
  name = parameters_.gantt_chart_prefix + "_time_stamp_changes.csv";
  std::ofstream changes(name);
  if (!changes) throw std::runtime_error("Unable to open file \"" + name + "\".");
  changes << "TIME_STAMP;START\n";
  for (auto const& change : gantt_time_stamp_changes_) {
    changes << change.first << ';' << change.second << '\n';
  }
}

}  // namespace treesearch
