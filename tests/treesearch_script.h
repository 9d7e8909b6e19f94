// A scripted client of the task engine for the tests: each task runs a
// lambda, and the machine keeps what the engine prints.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "treesearch/machine.h"

namespace tstest {

using treesearch::AbstractMachineGlobalData;
using treesearch::AbstractSolution;
using treesearch::AbstractTask;

// A solution that is its value; larger is better.
struct IntSolution : AbstractSolution {
  explicit IntSolution(long v) : value(v) {}
  bool operator<(AbstractSolution const& o) const override {
    return value > static_cast<IntSolution const&>(o).value;
  }
  long value;
};

class ScriptMachine : public AbstractMachineGlobalData {
 public:
  using AbstractMachineGlobalData::AbstractMachineGlobalData;
  bool quiet = true;  // skip the base stamp-change report
  std::string output() { return read(output_); }
  std::string errors() { return read(errors_); }

 protected:
  void time_stamp_change_callback() override {
    if (!quiet) AbstractMachineGlobalData::time_stamp_change_callback();
  }
  void print(std::string const& text) override { append(output_, text); }
  void print_error(std::string const& text) override { append(errors_, text); }

 private:
  // Worker threads print while the test may read.
  std::string read(std::string const& text) {
    std::lock_guard<std::mutex> lock(text_mutex_);
    return text;
  }
  void append(std::string& text, std::string const& more) {
    std::lock_guard<std::mutex> lock(text_mutex_);
    text += more;
  }
  std::mutex text_mutex_;
  std::string output_, errors_;
};

class ScriptTask : public virtual AbstractTask {
 public:
  using Body = std::function<void(ScriptTask&)>;
  ScriptTask(ScriptMachine& m, std::vector<double> priority, long target, Body body)
      : AbstractTask(m), machine(m), priority_(std::move(priority)), target_(target),
        body_(std::move(body)) {}
  std::vector<double> get_priority() const override { return priority_; }
  long get_targeted_time_stamp() override { return target_; }
  void run() override {
    if (body_) body_(*this);
  }
  // Adds a child of this running task; returns it (owned by the machine).
  ScriptTask& spawn(std::vector<double> priority, long target, Body body = nullptr) {
    auto child = std::make_unique<ScriptTask>(machine, std::move(priority), target, std::move(body));
    ScriptTask& ref = *child;
    machine.add_task(this, std::move(child));
    return ref;
  }
  ScriptMachine& machine;

 private:
  std::vector<double> priority_;
  long target_;
  Body body_;
};

inline AbstractMachineGlobalData::Parameters params(long threads, long per_stamp,
                                                    std::string prefix = std::string()) {
  AbstractMachineGlobalData::Parameters p;
  p.number_of_threads = threads;
  p.tasks_per_time_stamp = per_stamp;
  p.gantt_chart_prefix = std::move(prefix);
  return p;
}

// One line of the task chart, without its times and thread.
struct ChartRow {
  std::string task;
  long position = 0, stamp = 0, target = 0;
  std::string node, father, extra;
};

// A chart prefix in the test's temporary directory, unique per process.
inline std::string chart_prefix(std::string const& name) {
  return ::testing::TempDir() + name + "_" + std::to_string(::getpid());
}

// Reads the task chart written under `prefix` and deletes both chart files.
inline std::vector<ChartRow> read_chart(std::string const& prefix) {
  std::ifstream in(prefix + "_tasks.csv");
  std::string line;
  std::getline(in, line);
  std::vector<ChartRow> rows;
  while (std::getline(in, line)) {
    std::vector<std::string> c;
    std::stringstream ss(line);
    std::string col;
    while (std::getline(ss, col, ';')) c.push_back(col);
    c.resize(10);
    rows.push_back({c[0], std::stol(c[1]), std::stol(c[5]), std::stol(c[6]), c[7], c[8], c[9]});
  }
  std::remove((prefix + "_tasks.csv").c_str());
  std::remove((prefix + "_time_stamp_changes.csv").c_str());
  return rows;
}

}  // namespace tstest
