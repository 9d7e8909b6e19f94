// The loop of the worker threads: taking a released task, running it,
// retiring or re-targeting it, and moving the clock on.
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "treesearch/machine.h"

namespace treesearch {

namespace {

// Set by the first SIGINT, never reset: every later run in the process ends
// at once. Lock-free, so the handler may touch it.
std::atomic<int> interrupt_flag{0};
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs a lock-free flag");

// Waiting threads look at the interrupt flag at least this often, since the
// handler cannot notify them.
constexpr std::chrono::milliseconds kWaitSlice(50);

}  // namespace

void AbstractMachineGlobalData::sigint_handler(int) {
  if (interrupt_flag.load() == 1) {
    ssize_t written = ::write(STDOUT_FILENO, "\n", 1);
    (void)written;
    ::_exit(1);
  }
  interrupt_flag.store(1);
}

bool AbstractMachineGlobalData::terminated_by_sigint() const { return interrupt_flag.load() == 1; }

bool AbstractMachineGlobalData::needs_to_end() const {
  return end_requested_ || interrupt_flag.load() == 1;
}

bool AbstractMachineGlobalData::have_all_tasks_terminated() const {
  return not_yet_available_tasks_.empty() && task_manager_->get_number_of_tasks() == 0 &&
         current_time_stamp_tasks_.empty() && number_of_running_tasks_ == 0 &&
         time_stamp_datas_.count(current_time_stamp_ + 1) == 0;
}

void AbstractMachineGlobalData::start_new_thread(long thread_id) {
  for (;;) {
    try {
      if (!work_on_one_task(thread_id)) break;
    } catch (std::exception const& e) {
      report_internal_error(e.what());
    } catch (...) {
      {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!foreign_exception_) foreign_exception_ = std::current_exception();
        end_requested_ = true;
      }
      condition_.notify_all();
    }
  }
  // Threads leave one after another: each wakes the next waiter.
  condition_.notify_one();
}

// Returns false when the thread must leave.
bool AbstractMachineGlobalData::work_on_one_task(long thread_id) {
  Clock::time_point entered = Clock::now();
  std::unique_lock<std::mutex> lock(mutex_);
  if (have_all_tasks_terminated()) return false;
  while (current_time_stamp_tasks_.empty() && !needs_to_end() && !have_all_tasks_terminated())
    condition_.wait_for(lock, kWaitSlice);
  if (needs_to_end() || have_all_tasks_terminated()) return false;
  AbstractTask* task = take_task(thread_id, entered);
  lock.unlock();
  try {
    task->run();
  } catch (std::exception const& e) {
    report_internal_error(e.what());
  }
  finish_targeted_time_stamp(*task, -1);
  return true;
}

AbstractTask* AbstractMachineGlobalData::take_task(long thread_id, Clock::time_point entered) {
  std::unique_ptr<AbstractTask> task = std::move(current_time_stamp_tasks_.back());
  current_time_stamp_tasks_.pop_back();
  if (!task) throw std::logic_error("Get 'nullptr' from current_time_stamp_tasks_.");
  if (!task->node_) throw std::logic_error("Get 'nullptr' from task->get_node().");
  long id = task->node_->id;
  if (running_task_datas_.count(id) != 0) {
    throw std::logic_error("'running_task_datas_' already contains id '" + std::to_string(id));
  }
  // With one thread every stamp holds one task, whatever it asks for.
  long delta = parameters_.number_of_threads == 1 ? 1 : task->get_targeted_time_stamp();
  if (delta < 1) {
    throw std::invalid_argument(
        "A task can only target time stamps greater or equal to its starting time stamp + 1. "
        "Added task " + std::to_string(id) + " targets its starting time stamp + " +
        std::to_string(delta));
  }
  auto running = std::make_unique<RunningTaskData>();
  running->starting_time_stamp = current_time_stamp_;
  running->targeted_time_stamp = current_time_stamp_ + delta;
  running->position = number_of_started_tasks_;
  running->thread_id = thread_id;
  running->start_time = Clock::now();
  running->dynamic_data = task->new_dynamic_data();
  AbstractTimeStampData& current = current_time_stamp_data_unlocked();
  running->dynamic_data->time_stamp_data = &current;
  ensure_time_stamp_datas(running->targeted_time_stamp);
  ++current.tasks_started_running;
  ++current.tasks_started;
  ++time_stamp_data_unlocked(running->targeted_time_stamp).tasks_targeting;
  ++number_of_started_tasks_;
  ++number_of_running_tasks_;
  if (!parameters_.gantt_chart_prefix.empty()) {
    GanttTask entry;
    entry.task_id = task->get_string_id();
    entry.position = running->position;
    entry.start = seconds_since_start(running->start_time);
    entry.thread_id = thread_id;
    entry.starting_time_stamp = current_time_stamp_;
    entry.targeted_time_stamp = running->targeted_time_stamp;
    entry.node_id = task->node_->get_string_id();
    if (task->node_->father) entry.father_node_id = task->node_->father->get_string_id();
    gantt_tasks_.push_back(std::move(entry));
  }
  AbstractTask* raw = task.get();
  running->task = std::move(task);
  running_task_datas_.emplace(id, std::move(running));
  timers_.taking_tasks += seconds_since_start(Clock::now()) - seconds_since_start(entered);
  return raw;
}

void AbstractMachineGlobalData::ensure_time_stamp_datas(long last) {
  for (long t = current_time_stamp_ + 1; t <= last; ++t) {
    auto& data = time_stamp_datas_[t];
    if (!data) data = new_time_stamp_data();
  }
}

void AbstractMachineGlobalData::finish_targeted_time_stamp(AbstractTask const& task, long delta) {
  Clock::time_point entered = Clock::now();
  std::unique_lock<std::mutex> lock(mutex_);
  RunningTaskData& running = running_task_data_unlocked(task);
  if (delta != -1 && delta < 1) {
    throw std::invalid_argument(
        "A task can only change for a targeted time stamps greater or equal to its current "
        "targeted time stamp + 1. " + std::to_string(task.node_->id) + " started at time stamp " +
        std::to_string(running.starting_time_stamp) + " targets its starting time stamp + " +
        std::to_string(running.targeted_time_stamp - running.starting_time_stamp) +
        " and changed its targeted time stamp to its current time stamp + " +
        std::to_string(delta));
  }
  --time_stamp_data_unlocked(running.targeted_time_stamp).tasks_targeting;
  if (delta == -1) {
    retire_task(running);
  } else {
    retarget_task(running, delta);
  }
  int advances = advance_while_possible();
  request_end_or_clean_up();
  double spent = std::chrono::duration<double>(Clock::now() - entered).count();
  (delta == -1 ? timers_.finishing_tasks : timers_.changing_targets) += spent;
  lock.unlock();
  if (advances > 0) condition_.notify_all();
}

// The task has returned: its successors may become available, and it is
// destroyed with its dynamic data.
void AbstractMachineGlobalData::retire_task(RunningTaskData& running) {
  AbstractTask const& task = *running.task;
  timers_.tasks += std::chrono::duration<double>(Clock::now() - running.start_time).count();
  if (!parameters_.gantt_chart_prefix.empty()) {
    GanttTask& entry = gantt_tasks_[static_cast<std::size_t>(running.position)];
    entry.targeted_time_stamp = running.targeted_time_stamp;
    entry.end = get_elapsed_time();
    entry.extra_info = task.get_extra_info(*running.dynamic_data);
  }
  for (AbstractTask* successor : task.successors_) {
    if (successor == nullptr) throw std::logic_error("A task successor cannot be 'nullptr'.");
    NotYetAvailableTaskData& waiting = waiting_task_data_unlocked(*successor);
    --waiting.remaining_predecessors;
    waiting.available_time_stamp =
        std::max(waiting.available_time_stamp, running.targeted_time_stamp);
  }
  --time_stamp_data_unlocked(running.starting_time_stamp).tasks_started_running;
  --number_of_running_tasks_;
  ++number_of_finished_tasks_;
  running_task_datas_.erase(task.node_->id);
}

// The task keeps its thread through its old target, so that stamp releases
// one task fewer.
void AbstractMachineGlobalData::retarget_task(RunningTaskData& running, long delta) {
  --time_stamp_data_unlocked(running.targeted_time_stamp).tasks_limit;
  running.targeted_time_stamp += delta;
  ensure_time_stamp_datas(running.targeted_time_stamp);
  ++time_stamp_data_unlocked(running.targeted_time_stamp).tasks_targeting;
}

int AbstractMachineGlobalData::advance_while_possible() {
  int advances = 0;
  while (current_time_stamp_tasks_.empty()) {
    auto next = time_stamp_datas_.find(current_time_stamp_ + 1);
    if (next == time_stamp_datas_.end() || next->second->tasks_targeting != 0) break;
    advance_time_stamp(true);
    ++advances;
  }
  return advances;
}

void AbstractMachineGlobalData::advance_time_stamp(bool notify_client) {
  auto timed = [this](double& timer, auto&& step) {
    Clock::time_point t0 = Clock::now();
    step();
    timer += std::chrono::duration<double>(Clock::now() - t0).count();
  };
  timed(timers_.merge_time_stamp_datas_0, [this] { merge_time_stamp_datas_0(); });
  timed(timers_.merge_time_stamp_datas, [this] { merge_time_stamp_datas(); });
  ++current_time_stamp_;
  timed(timers_.merge_tasks, [this] { merge_tasks(); });
  if (!notify_client) return;
  if (!parameters_.gantt_chart_prefix.empty())
    gantt_time_stamp_changes_.emplace_back(current_time_stamp_, get_elapsed_time());
  timed(timers_.time_stamp_change_callback, [this] { time_stamp_change_callback(); });
}

// The one place where real time enters. Stamps behind the clock that no
// running task reads any more are dropped.
void AbstractMachineGlobalData::request_end_or_clean_up() {
  if (interrupt_flag.load() == 1 || get_elapsed_time() > parameters_.time_limit) {
    end_requested_ = true;
    return;
  }
  if (end_requested_) return;
  for (auto it = time_stamp_datas_.begin(); it != time_stamp_datas_.end();) {
    if (it->first < current_time_stamp_ && it->second->tasks_started_running == 0) {
      it = time_stamp_datas_.erase(it);
    } else {
      ++it;
    }
  }
}

void AbstractMachineGlobalData::report_internal_error(char const* what) {
  print_error(std::string("\nInternal error:\n===============\n") + what + "\n\n");
  {
    std::lock_guard<std::mutex> lock(mutex_);
    exit_status_ = EXIT_INTERNAL_ERROR;
    end_requested_ = true;
  }
  condition_.notify_all();
}

AbstractMachineGlobalData::RunningTaskData& AbstractMachineGlobalData::running_task_data_unlocked(
    AbstractTask const& task) {
  long id = task.node_ ? task.node_->id : -1;
  auto it = running_task_datas_.find(id);
  if (it == running_task_datas_.end() || it->second->task.get() != &task) {
    throw std::out_of_range("'get_running_task_data' called for task with id '" +
                            std::to_string(id) + "' and string id '" + task.get_string_id() +
                            "' which is not running.");
  }
  return *it->second;
}

AbstractMachineGlobalData::NotYetAvailableTaskData&
AbstractMachineGlobalData::waiting_task_data_unlocked(AbstractTask const& task) {
  long id = task.node_ ? task.node_->id : -1;
  auto it = not_yet_available_tasks_.find(id);
  if (it == not_yet_available_tasks_.end() || it->second->task.get() != &task) {
    throw std::out_of_range("'get_running_task_data' called for task with id '" +
                            std::to_string(id) + "' and string id '" + task.get_string_id() +
                            "' which is not running.");
  }
  return *it->second;
}

}  // namespace treesearch
