// Factorization engines used from several threads at once.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "kkt_random.h"

// Engine instances factor and solve in several threads at once with the
// same results as one after the other (the sparse library needs its calls
// serialised: without the lock this test crashes).
TEST(LinEngines, ConcurrentSparseInstances) {
  constexpr int kThreads = 4, kRounds = 6;
  std::vector<KktCase> cases;
  std::vector<std::vector<double>> rhs, serial;
  std::mt19937 rng(99);
  for (int t = 0; t < kThreads; ++t) {
    cases.push_back(kktGrid(12 + 2 * t, 5 + t));
    rhs.push_back(randomRhs(rng, cases.back().n));
  }
  LinSettings s;
  s.ordering = LIN_ORDER_METIS;
  for (int t = 0; t < kThreads; ++t)
    serial.push_back(runEngine(cases[t], LIN_ENGINE_MUMPS, s, rhs[t]).x);
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> pool;
  for (int t = 0; t < kThreads; ++t)
    pool.emplace_back([&, t] {
      for (int r = 0; r < kRounds; ++r) {
        LinSettings mine = s;
        mine.ordering = r % 2 ? LIN_ORDER_METIS : LIN_ORDER_AMD;
        const LinEngineKind kind = r % 3 == 2 ? LIN_ENGINE_DENSE : LIN_ENGINE_MUMPS;
        const EngineRun run = runEngine(cases[t], kind, mine, rhs[t]);
        bool same = run.solve == LIN_OK;
        for (size_t i = 0; same && i < run.x.size(); ++i)
          same = std::fabs(run.x[i] - serial[t][i]) <= 1e-10 * (1.0 + std::fabs(serial[t][i]));
        mismatches[t] += !same;
      }
    });
  for (auto &th : pool) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}
