// The lazily built lookup maps of the option table, first used from several
// threads at once.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "interface/context.h"
#include "options/options.h"

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
        if (row.intPlace != nullptr)
          misses[t] += getIntParamSpecs(&ctx, &(ctx.opt.*row.intPlace)) != &row;
      }
    });
  }
  for (std::thread &th : threads) th.join();
  EXPECT_EQ(misses, std::vector<int>(4, 0));
}
