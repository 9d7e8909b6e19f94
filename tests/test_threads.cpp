// Shared state first used or entered from several threads at once: the
// lazily built lookup maps of the option table, and the factorization
// engines.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

#include "interface/context.h"
#include "kkt_random.h"
#include "options/options.h"

// Every row of the option table is found from its id and from its place.
TEST(OptionMaps, FirstUseFromSeveralThreads) {
  MXL_context ctx;
  MXL_reset_params_to_defaults(&ctx);
  std::vector<std::thread> threads;
  std::vector<int> misses(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&ctx, &misses, t] {
      const MxParamSpec *table = getMorvexParamSpecifications();
      for (int i = 0; i < getNbParamSpecs(); ++i) {
        const MxParamSpec &row = table[i];
        misses[t] += getParamSpecsFromAPIId(nullptr, row.apiId) != &row;
        if (row.intPlace != nullptr) misses[t] += getIntParamSpecs(&ctx, &(ctx.opt.*row.intPlace)) != &row;
        if (row.dblPlace != nullptr) misses[t] += getDblParamSpecs(&ctx, &(ctx.opt.*row.dblPlace)) != &row;
        if (row.strPlace != nullptr) misses[t] += getParamSpecsFromPtr(&ctx, &(ctx.opt.*row.strPlace)) != &row;
      }
    });
  }
  for (std::thread &th : threads) th.join();
  EXPECT_EQ(misses, std::vector<int>(4, 0));
  // A place that is no option's, or an option's place under another type.
  EXPECT_EQ(getDblParamSpecs(&ctx, reinterpret_cast<const double *>(&ctx.opt.outlev)), nullptr);
  EXPECT_EQ(getIntParamSpecs(&ctx, &ctx.n), nullptr);
}

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
