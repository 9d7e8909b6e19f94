// The task engine: a growing tree of tasks run on a fixed number of threads
// against a logical clock, so that a run is reproducible for a given number
// of threads.
//
// Time is counted in stamps. A task reads only the frozen data of the stamp
// at which it started and publishes only into the data of the stamp it
// targets. The clock moves on when no running task targets the next stamp;
// at each move the data of the old stamp are merged into the new one under
// the lock, and the tasks that became available are released in priority
// order. The order in which results arrive within a stamp is therefore never
// observed. Real time enters only through the time limit.
//
// Client tasks keep the reproducibility by four rules: read shared state only
// through the starting stamp's data; publish only through
// update_next_targeted_time_stamp_data, with updates that commute over the
// tasks of a stamp; decide targets and re-targeting from counted work, never
// from measured time; give priorities that depend only on the task's own
// data.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "treesearch/node_manager.h"
#include "treesearch/solution_pool.h"
#include "treesearch/task.h"

namespace treesearch {

// Published state of one stamp; clients derive their own.
class AbstractTimeStampData {
 public:
  explicit AbstractTimeStampData(AbstractMachineGlobalData const& machine);
  AbstractTimeStampData(AbstractTimeStampData const&) = delete;
  AbstractTimeStampData& operator=(AbstractTimeStampData const&) = delete;
  virtual ~AbstractTimeStampData();

  std::unique_ptr<SolutionPool> solution_pool;
  long processed_nodes = 0;
  long created_nodes = 0;
  long highest_depth = 0;
  double node_time = 0.0;
  // How many tasks this stamp releases; lowered by each task that keeps its
  // thread through the stamp by re-targeting. May reach 0 or below.
  long tasks_limit = 0;
  long tasks_started_running = 0;
  long tasks_targeting = 0;
  long tasks_started = 0;
};

class AbstractMachineGlobalData {
 public:
  struct Parameters {
    long tasks_per_time_stamp = 1;
    double time_limit = std::numeric_limits<double>::infinity();
    long number_of_threads = 1;
    // Empty: no chart.
    std::string gantt_chart_prefix;
  };

  // Values returned by run(). A time limit or an interrupt is a normal end;
  // terminated_by_sigint() tells the latter apart. The solver maps
  // EXIT_INTERNAL_ERROR to its internal-error return code (-600).
  static constexpr int EXIT_NORMAL = 0;
  static constexpr int EXIT_INTERNAL_ERROR = 1;

  // Seconds spent in each part of the scheduling.
  struct Timers {
    double tasks = 0.0;
    double taking_tasks = 0.0;
    double finishing_tasks = 0.0;
    double merge_time_stamp_datas = 0.0;
    double merge_time_stamp_datas_0 = 0.0;
    double time_stamp_change_callback = 0.0;
    double merge_tasks = 0.0;
    double changing_targets = 0.0;
  };

  struct NotYetAvailableTaskData {
    std::unique_ptr<AbstractTask> task;
    long available_time_stamp = 0;
    long remaining_predecessors = 0;
  };

  struct RunningTaskData {
    std::unique_ptr<AbstractTask> task;
    long starting_time_stamp = 0;
    long targeted_time_stamp = 0;
    long position = 0;
    long thread_id = 0;
    std::chrono::steady_clock::time_point start_time;
    std::unique_ptr<TaskDynamicData> dynamic_data;
  };

  struct GanttTask {
    std::string task_id;
    long position = 0;
    double start = 0.0;
    double end = 0.0;
    long thread_id = 0;
    long starting_time_stamp = 0;
    long targeted_time_stamp = 0;
    std::string node_id;
    std::string father_node_id;
    std::string extra_info;
  };

  // Installs sigint_handler for SIGINT.
  explicit AbstractMachineGlobalData(Parameters const& parameters);
  AbstractMachineGlobalData(AbstractMachineGlobalData const&) = delete;
  AbstractMachineGlobalData& operator=(AbstractMachineGlobalData const&) = delete;
  virtual ~AbstractMachineGlobalData();

  // Runs until all tasks have ended or an end is requested. Returns
  // EXIT_NORMAL or EXIT_INTERNAL_ERROR. Can be called once per machine.
  int run();

  // Before run: initial tasks, with a null father. From a running task: its
  // children, with the task itself as father.
  void add_task(AbstractTask const* father, std::unique_ptr<AbstractTask>&& task);

  // Called from inside a running task; each takes the mutex.
  TaskDynamicData& get_task_dynamic_data(AbstractTask const& task);
  long get_task_position(AbstractTask const& task);
  long get_task_thread_id(AbstractTask const& task);
  // The one way to publish: applies `update` under the mutex to the data of
  // the task's current targeted stamp. Updates must commute over the tasks
  // of a stamp.
  void update_next_targeted_time_stamp_data(
      AbstractTask const& task, std::function<void(AbstractTimeStampData&)> const& update);
  // Moves the task's target `delta` (>= 1) stamps further, so that it keeps
  // its thread through them; decide it from counted work. Does nothing with
  // one thread.
  void change_targeted_time_stamp(AbstractTask const& task, long delta);

  // Read anywhere.
  bool needs_to_end() const;
  bool terminated_by_sigint() const;
  double get_elapsed_time() const;
  double get_total_time() const { return get_elapsed_time(); }
  Parameters const& get_parameters() const { return parameters_; }
  // These take the mutex; the returned data stay valid while a task that
  // started at that stamp runs, or after run() has returned.
  long get_current_time_stamp();
  AbstractTimeStampData& get_current_time_stamp_data();
  AbstractTimeStampData& get_next_time_stamp_data();
  AbstractTimeStampData& get_time_stamp_data(long time_stamp);
  long get_number_of_remaining_tasks();
  long get_number_of_started_tasks();
  long get_number_of_finished_tasks();
  Timers get_timers();
  bool end_requested();

  // First SIGINT: sets a process-wide flag that ends every run, now and
  // later in the process. Second: ends the process with status 1.
  static void sigint_handler(int signal_number);

 protected:
  virtual std::unique_ptr<AbstractMachineTaskManager> create_task_manager();
  virtual std::unique_ptr<AbstractTimeStampData> new_time_stamp_data();
  // Client part of the merge from the current stamp into the next one. Runs
  // under the mutex: use the unlocked lookups below, never the locking calls.
  virtual void merge_time_stamp_datas();
  // Called under the mutex after each stamp change of the run.
  virtual void time_stamp_change_callback();
  // Text of the engine: stamp changes go to print, internal errors to
  // print_error. Defaults: standard output and standard error.
  virtual void print(std::string const& text);
  virtual void print_error(std::string const& text);

  // Engine part of the merge: solution pool, depth and node counters.
  void merge_time_stamp_datas_0();
  // Releases the tasks that became available into the task manager and up to
  // the current stamp's tasks_limit of the best ones to the threads.
  void merge_tasks();

  // Lookups for code that runs under the mutex.
  long current_time_stamp_unlocked() const { return current_time_stamp_; }
  AbstractTimeStampData& time_stamp_data_unlocked(long time_stamp);
  AbstractTimeStampData& current_time_stamp_data_unlocked();
  AbstractTimeStampData& next_time_stamp_data_unlocked();
  long remaining_tasks_unlocked() const;

 private:
  friend class AbstractTask;
  using Clock = std::chrono::steady_clock;

  void start_new_thread(long thread_id);
  bool work_on_one_task(long thread_id);
  AbstractTask* take_task(long thread_id, Clock::time_point entered);
  void finish_targeted_time_stamp(AbstractTask const& task, long delta);
  void retire_task(RunningTaskData& running);
  void retarget_task(RunningTaskData& running, long delta);
  int advance_while_possible();
  void advance_time_stamp(bool notify_client);
  void request_end_or_clean_up();
  bool have_all_tasks_terminated() const;
  void run_threads();
  void flush_published_data();
  void report_internal_error(char const* what);
  void ensure_time_stamp_datas(long last);
  RunningTaskData& running_task_data_unlocked(AbstractTask const& task);
  NotYetAvailableTaskData& waiting_task_data_unlocked(AbstractTask const& task);
  double seconds_since_start(Clock::time_point t) const;
  void write_gantt_chart_output();

  Parameters parameters_;
  long current_time_stamp_ = -1;
  Clock::time_point start_time_;
  std::unordered_map<long, std::unique_ptr<AbstractTimeStampData>> time_stamp_datas_;
  std::unordered_map<long, std::unique_ptr<NotYetAvailableTaskData>> not_yet_available_tasks_;
  long next_task_id_ = 0;
  std::unique_ptr<AbstractMachineTaskManager> task_manager_;
  // Released for this stamp; best task at the back.
  std::vector<std::unique_ptr<AbstractTask>> current_time_stamp_tasks_;
  std::unordered_map<long, std::unique_ptr<RunningTaskData>> running_task_datas_;
  long number_of_running_tasks_ = 0;
  long number_of_finished_tasks_ = 0;
  long number_of_started_tasks_ = 0;
  Timers timers_;
  std::vector<GanttTask> gantt_tasks_;
  std::vector<std::pair<long, double>> gantt_time_stamp_changes_;
  std::condition_variable condition_;
  std::atomic<bool> end_requested_{false};
  int exit_status_ = EXIT_NORMAL;
  // An exception that is not a standard one: rethrown by run().
  std::exception_ptr foreign_exception_;
  bool has_run_ = false;
  std::mutex mutex_;
};

}  // namespace treesearch
