// Compares two models read from MPS files, entry by entry.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "interface/mps_model.h"

inline void expectSameMpsModel(const MpsModel &a, const MpsModel &b) {
  ASSERT_EQ(a.cols.size(), b.cols.size());
  ASSERT_EQ(a.rows.size(), b.rows.size());
  EXPECT_EQ(std::tie(a.maximize, a.objConstant, a.objCoefs), std::tie(b.maximize, b.objConstant, b.objCoefs));
  for (size_t c = 0; c < a.cols.size(); ++c) {
    const MpsColumn &x = a.cols[c], &y = b.cols[c];
    EXPECT_EQ(std::tie(x.name, x.integer, x.lo, x.up), std::tie(y.name, y.integer, y.lo, y.up));
  }
  for (size_t r = 0; r < a.rows.size(); ++r) {
    const MpsRow &x = a.rows[r], &y = b.rows[r];
    EXPECT_EQ(std::tie(x.name, x.kind, x.rhs, x.hasRange, x.range), std::tie(y.name, y.kind, y.rhs, y.hasRange, y.range));
  }
  // The order of the entries is free.
  const auto sorted = [](const MpsModel &m) {
    std::vector<std::tuple<int, int, double>> k;
    for (const MpsEntry &e : m.entries) k.emplace_back(e.row, e.col, e.value);
    std::sort(k.begin(), k.end());
    return k;
  };
  EXPECT_EQ(sorted(a), sorted(b));
  EXPECT_EQ(a.quadObj.size(), b.quadObj.size());
}
