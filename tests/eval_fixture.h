// A model built through the public calls, merged and evaluated as a solve
// would do it, with lookups of merged entries by coordinate.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "capture.h"
#include "interface/constants.h"
#include "interface/evaluation.h"
#include "interface/patterns.h"
#include "morvex.h"

struct EvalModel : testing::Test {
  MX_context_ptr kc = nullptr;
  std::unique_ptr<PrintCapture> out;
  void SetUp() override {
    ASSERT_EQ(MX_new(&kc), 0);
    out.reset(new PrintCapture(kc));
  }
  void TearDown() override { EXPECT_EQ(MX_free(&kc), 0); }
  void build(int n, int m) {
    ASSERT_EQ(MX_add_vars(kc, n, nullptr), 0);
    ASSERT_EQ(MX_add_cons(kc, m, nullptr), 0);
  }
  // A new context in place of the current one; with n >= 0, built as above.
  void fresh(int n = -1, int m = 0) {
    TearDown();
    SetUp();
    if (n >= 0) build(n, m);
  }
  // The structure steps of a solve: constants, merge, constant constraints.
  int prepare() {
    if (kc->changeLevel != 0) mxLoadConstants(kc);
    if (const int rc = mxMergeStructure(kc)) return rc;
    if (const int rc = mxCheckConstantCons(kc)) return rc;
    mxInitForResolve(kc);
    return 0;
  }
  // What the end of a solve leaves behind.
  void solved() { kc->changeLevel = -1; }
  double jacAt(int row, int var) const {
    const nnzint k = mxFindJacEntry(kc->pat.jac, row, var);
    EXPECT_GE(k, 0) << "no Jacobian entry (" << row << ", " << var << ")";
    return k >= 0 ? kc->pat.jac.values[k] : 0.0;
  }
  double hessAt(int i, int j) const {
    const MxHessian &h = kc->pat.hess;
    for (nnzint k = h.rowPtr[i]; k < h.rowPtr[i + 1]; ++k)
      if (h.indexVars2[k] == j) return h.values[k];
    ADD_FAILURE() << "no Hessian entry (" << i << ", " << j << ")";
    return 0.0;
  }
};
