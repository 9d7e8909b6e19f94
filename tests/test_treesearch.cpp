// The task engine's scheduling rules, failure paths and building blocks.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <thread>

#include "treesearch_script.h"

namespace {

using namespace tstest;
using namespace treesearch;

std::vector<std::string> tasks_in_start_order(std::vector<ChartRow> const& rows) {
  std::vector<std::string> ids;
  for (auto const& r : rows) ids.push_back(r.task);
  return ids;
}

TEST(TreeSearchEngine, OneThreadRunsOneTaskPerStampInPriorityOrder) {
  std::string prefix = chart_prefix("one_thread");
  ScriptMachine m(params(1, 5, prefix));
  m.quiet = false;
  // Smaller priority vectors first; equal ones by the order of addition.
  for (auto prio : std::vector<std::vector<double>>{{2}, {1, 5}, {1}, {}, {}}) {
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, prio, 3, [](ScriptTask& t) {
      t.machine.change_targeted_time_stamp(t, 2);  // ignored with one thread
    }));
  }
  ASSERT_EQ(m.run(), 0);
  auto rows = read_chart(prefix);
  EXPECT_EQ(tasks_in_start_order(rows), (std::vector<std::string>{"3", "4", "2", "1", "0"}));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].stamp, static_cast<long>(i));
    EXPECT_EQ(rows[i].target, static_cast<long>(i) + 1);
  }
  // The report at the change to stamp 1 counts the tasks where they are.
  EXPECT_NE(m.output().find(".\nTasks - Not yet: 0; Task manager: 3; Current: 1; Running: 0; Finished: 1.\n"),
            std::string::npos);
}

TEST(TreeSearchEngine, EqualPrioritiesFollowThePlaceInTheTreeNotTheArrival) {
  std::string prefix = chart_prefix("tree_order");
  ScriptMachine m(params(2, 2, prefix));
  std::atomic<bool> second_done{false};
  m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{}, 1, [&](ScriptTask& root) {
    root.spawn({}, 1, [&](ScriptTask& first) {
      // Let the second child create its children first, so that theirs get
      // the smaller ids.
      auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (!second_done && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
      first.spawn({}, 1);
      first.spawn({}, 1);
    });
    root.spawn({}, 1, [&](ScriptTask& second) {
      second.spawn({}, 1);
      second.spawn({}, 1);
      second_done = true;
    });
  }));
  ASSERT_EQ(m.run(), 0);
  auto rows = read_chart(prefix);
  ASSERT_EQ(tasks_in_start_order(rows),
            (std::vector<std::string>{"0", "0_0", "0_1", "0_0_0", "0_0_1", "0_1_0", "0_1_1"}));
  EXPECT_EQ(rows[5].node, "0_1_0");
  EXPECT_EQ(rows[5].father, "0_1");
}

TEST(TreeSearchEngine, PredecessorsAndRetargetingShapeTheStamps) {
  std::string prefix = chart_prefix("shape");
  {
    // The successor waits for the predecessor's final target (stamp 1 + 3).
    ScriptMachine m(params(2, 2, prefix));
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{}, 1, [](ScriptTask& root) {
      auto a = std::make_unique<ScriptTask>(root.machine, std::vector<double>{1}, 3, nullptr);
      auto b = std::make_unique<ScriptTask>(root.machine, std::vector<double>{0}, 1, nullptr);
      b->add_predecessor(*a);
      root.machine.add_task(&root, std::move(a));
      root.machine.add_task(&root, std::move(b));
    }));
    ASSERT_EQ(m.run(), 0);
    auto rows = read_chart(prefix);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1].task, "0_0");
    EXPECT_EQ(rows[1].target, 4);
    EXPECT_EQ(rows[2].task, "0_1");
    EXPECT_EQ(rows[2].stamp, 4);
  }
  {
    // A task that keeps its thread through stamp 1 leaves room there for
    // one task only.
    ScriptMachine m(params(2, 2, prefix));
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{0}, 1, [](ScriptTask& t) {
      t.machine.change_targeted_time_stamp(t, 1);
    }));
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{1}, 1, [](ScriptTask& t) {
      for (int i = 0; i < 4; ++i) t.spawn({}, 1);
    }));
    ASSERT_EQ(m.run(), 0);
    auto rows = read_chart(prefix);
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows[0].target, 2);
    std::map<long, int> per_stamp;
    for (auto const& r : rows) ++per_stamp[r.stamp];
    EXPECT_EQ(per_stamp, (std::map<long, int>{{0, 2}, {1, 1}, {2, 2}, {3, 1}}));
  }
}

// Every task spawns two children until the run must end; second children
// at depth `failing` throw.
ScriptTask::Body growing(long failing, std::atomic<long>* best) {
  return [failing, best](ScriptTask& t) {
    std::this_thread::sleep_for(std::chrono::microseconds(500));
    long depth = t.get_node()->depth;
    if (depth == failing && t.get_node()->child_index == 1) throw std::runtime_error("task failed");
    auto solution = std::make_shared<IntSolution>(depth);
    t.machine.update_next_targeted_time_stamp_data(
        t, [&](AbstractTimeStampData& d) { d.solution_pool->add(solution); });
    long seen = best->load();
    while (seen < depth && !best->compare_exchange_weak(seen, depth)) {}
    if (t.machine.needs_to_end()) return;
    t.spawn({}, 1 + depth % 2, growing(failing, best));
    t.spawn({}, 1, growing(failing, best));
  };
}

// A throwing task ends the run with an internal error; the time limit ends it
// cleanly and keeps the published solutions.
TEST(TreeSearchEngine, ExceptionOrTimeLimitEndTheRun) {
  for (bool failing : {true, false}) {
    std::atomic<long> best{-1};
    auto p = params(2, 2);
    p.time_limit = failing ? 60.0 : 0.3;  // with a failure, a hang is an error, not a stuck test
    ScriptMachine m(p);
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{}, 1, growing(failing ? 5 : -1, &best)));
    EXPECT_EQ(m.run(), failing ? ScriptMachine::EXIT_INTERNAL_ERROR : 0);
    EXPECT_TRUE(m.end_requested());
    EXPECT_FALSE(m.terminated_by_sigint());
    if (failing) {
      EXPECT_EQ(m.errors().rfind("\nInternal error:\n===============\ntask failed\n\n", 0), 0u);
      continue;
    }
    EXPECT_EQ(m.errors(), "");
    EXPECT_GT(m.get_number_of_remaining_tasks(), 0);
    EXPECT_GT(best.load(), 2);
    auto kept = m.get_current_time_stamp_data().solution_pool->get_best_solution();
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(static_cast<IntSolution&>(*kept).value, best.load());
  }
}

TEST(TreeSearchEngine, ClientMisuseIsReportedAsAnInternalError) {
  struct Case {
    ScriptTask::Body body;
    std::string text;
  };
  std::vector<Case> cases = {
      {[](ScriptTask& t) { t.machine.change_targeted_time_stamp(t, 0); },
       "A task can only change for a targeted time stamps greater or equal to its current "
       "targeted time stamp + 1. 0 changed its targeted time stamp to its current time stamp + 0"},
      {[](ScriptTask& t) { t.machine.add_task(&t, nullptr); }, "Input task must not be 'nullptr'."},
      {[](ScriptTask& t) { t.spawn({}, 0); },
       "A task can only target time stamps greater or equal to its starting time stamp + 1. "
       "Added task 1 targets its starting time stamp + 0"},
      {[](ScriptTask& t) { t.machine.get_time_stamp_data(7); },
       "'get_time_stamp_data' called for time stamp '7' but doesn't contain it."},
  };
  for (auto const& c : cases) {
    ScriptMachine m(params(2, 2));
    m.add_task(nullptr, std::make_unique<ScriptTask>(m, std::vector<double>{}, 1, c.body));
    EXPECT_EQ(m.run(), ScriptMachine::EXIT_INTERNAL_ERROR);
    EXPECT_EQ(m.errors(), "\nInternal error:\n===============\n" + c.text + "\n\n");
  }
  ScriptMachine m(params(1, 1));
  ScriptTask stranger(m, {}, 1, nullptr);
  EXPECT_THROW(m.add_task(&stranger, std::make_unique<ScriptTask>(m, std::vector<double>{}, 1, nullptr)),
               std::invalid_argument);
  // Without tasks a run ends at once; a machine runs once.
  ScriptMachine idle(params(4, 4));
  EXPECT_EQ(idle.run(), 0);
  EXPECT_THROW(idle.run(), std::logic_error);
  // A chart file that cannot be opened fails the run.
  ScriptMachine bad(params(1, 1, "/nonexistent-dir/chart"));
  bad.add_task(nullptr, std::make_unique<ScriptTask>(bad, std::vector<double>{}, 1, nullptr));
  try {
    bad.run();
    ADD_FAILURE() << "no error";
  } catch (std::runtime_error const& e) {
    EXPECT_STREQ(e.what(), "Unable to open file \"/nonexistent-dir/chart_tasks.csv\".");
  }
}

TEST(TreeSearchSolutionPool, KeepsTheTenBestWhateverTheOrderOfArrival) {
  ScriptMachine m(params(1, 1));
  auto contents = [](SolutionPool const& pool) {
    std::vector<long> v;
    for (auto const& s : pool.solutions()) v.push_back(static_cast<IntSolution&>(*s).value);
    return v;
  };
  SolutionPool forward(m), backward(m);
  for (long v = 0; v < 12; ++v) forward.add(std::make_shared<IntSolution>(v));
  for (long v = 11; v >= 0; --v) backward.add(std::make_shared<IntSolution>(v));
  forward.add(std::make_shared<IntSolution>(11));  // equivalent: not stored twice
  forward.add(nullptr);
  std::vector<long> expected{11, 10, 9, 8, 7, 6, 5, 4, 3, 2};
  EXPECT_EQ(contents(forward), expected);
  EXPECT_EQ(contents(backward), expected);
}

struct PNode : AbstractNode {
  PNode(std::shared_ptr<AbstractNode> f, long child, long later, double prio) : priority(prio) {
    depth = f ? f->depth + 1 : 0;
    father = std::move(f);
    child_index = child;
    later_siblings = later;
  }
  double get_priority() const override { return priority; }
  double priority;
};

TEST(TreeSearchNodeManager, DepthFirstWithHandOffsAndStops) {
  auto root = std::make_shared<PNode>(nullptr, 0, 0, 0.0);
  {
    DfsLocalNodeManager::Parameters p;
    p.max_depth_below_root = 0;
    DfsLocalNodeManager nodes(root, p);
    nodes.add_node(root);
    EXPECT_FALSE(nodes.stop());
    EXPECT_EQ(nodes.pop_best_node(), root);
    nodes.add_node(std::make_shared<PNode>(root, 0, 1, 0.0));
    nodes.add_node(std::make_shared<PNode>(root, 1, 0, 0.0));
    EXPECT_TRUE(nodes.stop());
    EXPECT_EQ(nodes.get_number_of_nodes(), 2);
    EXPECT_EQ(nodes.pop_best_node()->child_index, 1);  // last handed off
  }
  {
    // Among nodes of one depth the highest priority is on top; a second
    // backtrack is refused; late siblings are handed off.
    DfsLocalNodeManager::Parameters p;
    p.max_backtracks = 1;
    p.max_children_rank = 1;
    DfsLocalNodeManager nodes(root, p);
    nodes.add_node(root);
    nodes.pop_best_node();
    for (long c = 0; c < 3; ++c) nodes.add_node(std::make_shared<PNode>(root, c, 2 - c, c == 1 ? 5.0 : 1.0));
    EXPECT_EQ(nodes.handed_off_nodes().size(), 1u);
    EXPECT_EQ(nodes.pop_best_node()->child_index, 1);
    EXPECT_FALSE(nodes.stop());  // the next pop is the first backtrack
    EXPECT_EQ(nodes.pop_best_node()->child_index, 2);
    EXPECT_EQ(nodes.get_number_of_backtracks(), 1);
    EXPECT_TRUE(nodes.stop());
  }
}

}  // namespace
