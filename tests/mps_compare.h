// Compares two models read from MPS files, entry by entry.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "interface/mps_model.h"

inline void expectSameMpsModel(const MpsModel &a, const MpsModel &b) {
  ASSERT_EQ(a.cols.size(), b.cols.size());
  ASSERT_EQ(a.rows.size(), b.rows.size());
  EXPECT_EQ(a.maximize, b.maximize);
  EXPECT_EQ(a.objConstant, b.objConstant);
  for (size_t c = 0; c < a.cols.size(); ++c) {
    EXPECT_EQ(a.cols[c].name, b.cols[c].name);
    EXPECT_EQ(a.cols[c].integer, b.cols[c].integer) << a.cols[c].name;
    EXPECT_EQ(a.cols[c].lo, b.cols[c].lo) << a.cols[c].name;
    EXPECT_EQ(a.cols[c].up, b.cols[c].up) << a.cols[c].name;
    EXPECT_EQ(a.objCoefs[c], b.objCoefs[c]) << a.cols[c].name;
  }
  for (size_t r = 0; r < a.rows.size(); ++r) {
    EXPECT_EQ(a.rows[r].name, b.rows[r].name);
    EXPECT_EQ(a.rows[r].kind, b.rows[r].kind);
    EXPECT_EQ(a.rows[r].rhs, b.rows[r].rhs) << a.rows[r].name;
    EXPECT_EQ(a.rows[r].hasRange, b.rows[r].hasRange) << a.rows[r].name;
    EXPECT_EQ(a.rows[r].range, b.rows[r].range) << a.rows[r].name;
  }
  auto key = [](const MpsEntry &e) { return std::make_tuple(e.row, e.col, e.value); };
  std::vector<MpsEntry> ea = a.entries, eb = b.entries;
  auto less = [&](const MpsEntry &x, const MpsEntry &y) { return key(x) < key(y); };
  std::sort(ea.begin(), ea.end(), less);
  std::sort(eb.begin(), eb.end(), less);
  ASSERT_EQ(ea.size(), eb.size());
  for (size_t k = 0; k < ea.size(); ++k) EXPECT_TRUE(key(ea[k]) == key(eb[k])) << "entry " << k;
  EXPECT_EQ(a.quadObj.size(), b.quadObj.size());
}
