// Evaluation of a merged model: structural terms and callbacks together,
// the return codes of the pipeline, and the patterns across re-solves.
#include <cmath>
#include <limits>
#include <vector>

#include "eval_fixture.h"
#include "interface/frame.h"
#include "interface/structures.h"

namespace {

// Callback A: objective x0^2 x1 and x1 x2 into constraint 0, with sparse
// gradient {0, 1}, Jacobian {(0,1), (0,2)}, Hessian {(0,0), (0,1), (1,2)}.
int routineA(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  const double *x = q->x;
  if (q->type == MX_EVALTYPE_FC || q->type == MX_EVALTYPE_FCGA) {
    *r->obj = x[0] * x[0] * x[1];
    r->c[0] = x[1] * x[2];
  }
  if (q->type == MX_EVALTYPE_GA || q->type == MX_EVALTYPE_FCGA) {
    r->objGrad[0] = 2 * x[0] * x[1];
    r->objGrad[1] = x[0] * x[0];
    r->jac[0] = x[2];
    r->jac[1] = x[1];
  }
  const double s = q->sigma != nullptr ? *q->sigma : 0.0;
  if (q->type == MX_EVALTYPE_H || q->type == MX_EVALTYPE_H_NO_F) {
    r->hess[0] = s * 2 * x[1];
    r->hess[1] = s * 2 * x[0];
    r->hess[2] = q->lambda[0];
  }
  if (q->type == MX_EVALTYPE_HV || q->type == MX_EVALTYPE_HV_NO_F) {
    const double *v = q->vec;
    r->hessVec[0] = s * (2 * x[1] * v[0] + 2 * x[0] * v[1]);
    r->hessVec[1] = s * 2 * x[0] * v[0] + q->lambda[0] * v[2];
    r->hessVec[2] = q->lambda[0] * v[1];
  }
  return 0;
}

// Callback B on constraints {1, 0}: x0 x1 x2 and x0^3; dense Jacobian by
// constraints; Hessian {(0,0), (0,1), (0,2), (1,2)}.
int routineB(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  const double *x = q->x;
  if (q->type == MX_EVALTYPE_FC || q->type == MX_EVALTYPE_FCGA) {
    r->c[0] = x[0] * x[1] * x[2];
    r->c[1] = x[0] * x[0] * x[0];
  }
  if (q->type == MX_EVALTYPE_GA || q->type == MX_EVALTYPE_FCGA) {
    const double j[6] = {x[1] * x[2], x[0] * x[2], x[0] * x[1], 3 * x[0] * x[0], 0, 0};
    for (int k = 0; k < 6; ++k) r->jac[k] = j[k];
  }
  const double l0 = q->type >= 3 && q->type <= 9 ? q->lambda[0] : 0, l1 = q->type >= 3 && q->type <= 9 ? q->lambda[1] : 0;
  if (q->type == MX_EVALTYPE_H || q->type == MX_EVALTYPE_H_NO_F) {
    r->hess[0] = l0 * 6 * x[0];
    r->hess[1] = l1 * x[2];
    r->hess[2] = l1 * x[1];
    r->hess[3] = l1 * x[0];
  }
  if (q->type == MX_EVALTYPE_HV || q->type == MX_EVALTYPE_HV_NO_F) {
    const double *v = q->vec;
    r->hessVec[0] = l0 * 6 * x[0] * v[0] + l1 * (x[2] * v[1] + x[1] * v[2]);
    r->hessVec[1] = l1 * (x[2] * v[0] + x[0] * v[2]);
    r->hessVec[2] = l1 * (x[1] * v[0] + x[0] * v[1]);
  }
  return 0;
}

struct Mixed : EvalModel {
  MX_cb_context_ptr a = nullptr, b = nullptr;
  const double x[3] = {1, 2, 3};
  const double lambda[6] = {0.5, -1, 2, 0, 0, 0};
  // f = 4 + 2 x0 - x2 + 3 x0 x1 + 1.5 x2^2 + [x0^2 x1]
  // c0 = -2 + x0 + 2 x1 + [x1 x2] + [x0^3]
  // c1 = x0 x2 + 2 x1^2 + 5 x2 + [x0 x1 x2]
  // c2 = 0.5 x0 + 0.5 x0 + ||(x0 + 1, 2 x1 - x2, 3)||
  void buildMixed() {
    build(3, 3);
    const int ov[2] = {0, 2}, q1[2] = {0, 2}, q2[2] = {1, 2};
    const double oc[2] = {2, -1}, qc[2] = {3, 1.5};
    ASSERT_EQ(MX_add_obj_constant(kc, 4.0), 0);
    ASSERT_EQ(MX_add_obj_linear_struct(kc, 2, ov, oc), 0);
    ASSERT_EQ(MX_add_obj_quadratic_struct(kc, 2, q1, q2, qc), 0);
    const int lc[5] = {0, 0, 1, 2, 2}, lv[5] = {0, 1, 2, 0, 0};
    const double lk[5] = {1, 2, 5, 0.5, 0.5};
    ASSERT_EQ(MX_add_con_linear_struct(kc, 5, lc, lv, lk), 0);
    ASSERT_EQ(MX_add_con_constant(kc, 0, -2.0), 0);
    const int cc[2] = {1, 1}, c1[2] = {0, 1}, c2[2] = {2, 1};
    const double ck[2] = {1, 2};
    ASSERT_EQ(MX_add_con_quadratic_struct(kc, 2, cc, c1, c2, ck), 0);
    const int rows[3] = {0, 1, 1}, cols[3] = {0, 1, 2};
    const double vals[3] = {1, 2, -1}, b0[3] = {1, 0, 3};
    ASSERT_EQ(MX_add_con_L2norm(kc, 2, 3, 3, rows, cols, vals, b0), 0);
    const int consA[1] = {0}, gA[2] = {0, 1}, jrA[2] = {0, 0}, jvA[2] = {1, 2}, h1A[3] = {0, 0, 1}, h2A[3] = {0, 1, 2};
    ASSERT_EQ(MX_add_eval_callback(kc, 1, 1, consA, routineA, &a), 0);
    ASSERT_EQ(MX_set_cb_grad(kc, a, 2, gA, 2, jrA, jvA, routineA), 0);
    ASSERT_EQ(MX_set_cb_hess(kc, a, 3, h1A, h2A, routineA), 0);
    const int consB[2] = {1, 0}, h1B[4] = {0, 0, 0, 1}, h2B[4] = {0, 1, 2, 2};
    ASSERT_EQ(MX_add_eval_callback(kc, 0, 2, consB, routineB, &b), 0);
    ASSERT_EQ(MX_set_cb_grad(kc, b, 0, nullptr, MX_DENSE_ROWMAJOR, nullptr, nullptr, routineB), 0);
    ASSERT_EQ(MX_set_cb_hess(kc, b, 4, h1B, h2B, routineB), 0);
  }
  // The Hessian of the Lagrangian at x with sigma 1.5, by hand, full.
  void handHessian(double H[3][3], bool withObjective) const {
    const double s = std::sqrt(14.0), t = 14.0 * s;  // ||y|| and ||y||^3
    const double f = withObjective ? 1.0 : 0.0;
    H[0][0] = f * 1.5 * 4 + 0.5 * 6 + 2 * (1 / s - 4 / t);
    H[0][1] = f * 1.5 * 5 - 1 * 3 + 2 * (-4 / t);
    H[0][2] = -1 * (1 + 2) + 2 * (2 / t);
    H[1][1] = -1 * 4 + 2 * (4 / s - 4 / t);
    H[1][2] = 0.5 * 1 - 1 * 1 + 2 * (-2 / s + 2 / t);
    H[2][2] = f * 1.5 * 3 + 2 * (1 / s - 1 / t);
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < i; ++j) H[i][j] = H[j][i];
  }
};

// Values and derivatives match the hand computation; a child context
// evaluates its own copy of the model, and the combined call gives the same
// values and first derivatives as the separate ones.
TEST_F(Mixed, ValuesDerivativesAndCopiesMatchTheHandComputation) {
  buildMixed();
  MX_context_ptr child = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 1);
  ASSERT_NE(child, nullptr);
  ASSERT_EQ(mx_copy_problem(kc, child, 1, 0), 0);
  ASSERT_EQ(prepare(), 0) << out->text;
  EXPECT_EQ(kc->pat.jac.nnz, 9);
  EXPECT_EQ(kc->pat.hess.nnz, 6);
  double obj = 0, c[3];
  ASSERT_EQ(callbackForFC(kc, 1, x, &obj, c, nullptr, nullptr), 0);
  EXPECT_DOUBLE_EQ(obj, 4 + (2 - 3) + (6 + 13.5) + 2);
  EXPECT_DOUBLE_EQ(c[0], -2 + 5 + 6 + 1);  // two callbacks on one constraint add
  EXPECT_DOUBLE_EQ(c[1], (3 + 8) + 15 + 6);
  EXPECT_DOUBLE_EQ(c[2], 1 + std::sqrt(14.0));  // duplicate coordinates add
  std::vector<double> g(3);
  ASSERT_EQ(callbackForGA(kc, x, g.data(), kc->pat.jac.values.data()), 0);
  const double s = std::sqrt(14.0), G[3] = {2 + 6 + 4, 3 + 1, -1 + 9};
  const double J[3][3] = {{1 + 3, 2 + 3, 2}, {3 + 6, 8 + 3, 1 + 5 + 2}, {1 + 2 / s, 2 / s, -1 / s}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_DOUBLE_EQ(g[i], G[i]) << i;
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(jacAt(i, j), J[i][j], 1e-12) << i << "," << j;
  }
  // The Hessian with and without the objective, and its products with v.
  const double v[3] = {0.5, -2, 1.25};
  for (bool withObjective : {true, false}) {
    double H[3][3], hv[3];
    handHessian(H, withObjective);
    const int types[2] = {withObjective ? MX_EVALTYPE_H : MX_EVALTYPE_H_NO_F,
                          withObjective ? MX_EVALTYPE_HV : MX_EVALTYPE_HV_NO_F};
    ASSERT_EQ(callbackForH(kc, types[0], x, 1.5, lambda, nullptr, kc->pat.hess.values.data(), nullptr), 0);
    ASSERT_EQ(callbackForH(kc, types[1], x, 1.5, lambda, v, nullptr, hv), 0);
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) EXPECT_NEAR(hessAt(i, j), H[i][j], 1e-12) << withObjective << " " << i << "," << j;
      EXPECT_NEAR(hv[i], H[i][0] * v[0] + H[i][1] * v[1] + H[i][2] * v[2], 1e-12) << withObjective << " row " << i;
    }
  }
  EXPECT_EQ(kc->eval.counters.numHVevals, 2);

  double obj0 = 0, c0[3];
  std::vector<double> g0(3), j0(kc->pat.jac.nnz);
  ASSERT_EQ(callbackForFCGA(kc, x, &obj0, c0, g0.data(), j0.data()), 0);
  kc->opt.eval_fcga = 1;
  double obj1 = 0, c1[3];
  std::vector<double> g1(3), j1(kc->pat.jac.nnz);
  ASSERT_EQ(callbackForFC(kc, 1, x, &obj1, c1, g1.data(), j1.data()), 0);
  EXPECT_EQ(obj1, obj0);
  for (int i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(c1[i], c0[i]);
  EXPECT_EQ(g1, g0);
  for (size_t k = 0; k < j0.size(); ++k) EXPECT_DOUBLE_EQ(j1[k], j0[k]) << k;
  // A callback without a gradient routine is served by the combined call.
  a->gradCallback = nullptr;
  g1.assign(3, 0.0);
  ASSERT_EQ(callbackForGA(kc, x, g1.data(), j1.data()), 0);
  EXPECT_EQ(g1, g0);
  kc->model->callbacks.clear();  // the child must not depend on the parent's objects
  child->subproblemKind = 0;     // merge in full, as a fresh context
  ASSERT_EQ(mxMergeStructure(child), 0);
  ASSERT_EQ(callbackForFC(child, 1, x, &obj1, c1, nullptr, nullptr), 0);
  EXPECT_EQ(obj1, obj0);
  for (int i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(c1[i], c0[i]);
  EXPECT_EQ(child->model->callbacks[0]->owner, child);
  EXPECT_EQ(MX_free(&child), 0);
}

// ---- Return codes of the pipeline ----

struct Scripted {
  int rc = 0;
  double value = 1.0;
  int calls = 0;
};

int scripted(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *p) {
  Scripted *s = static_cast<Scripted *>(p);
  ++s->calls;
  if (q->type == MX_EVALTYPE_FC && r->c != nullptr) r->c[0] = s->value;
  return s->rc;
}

struct Failures : EvalModel {
  Scripted first, second;
  MX_cb_context_ptr cb1 = nullptr, cb2 = nullptr;
  void SetUp() override {
    EvalModel::SetUp();
    build(2, 1);
    const int cons[1] = {0};
    ASSERT_EQ(MX_add_eval_callback(kc, 1, 1, cons, scripted, &cb1), 0);
    ASSERT_EQ(MX_add_eval_callback(kc, 0, 1, cons, scripted, &cb2), 0);
    ASSERT_EQ(MX_set_cb_user_params(kc, cb1, &first), 0);
    ASSERT_EQ(MX_set_cb_user_params(kc, cb2, &second), 0);
    ASSERT_EQ(prepare(), 0);
  }
  int evalFC() {
    const double x[2] = {0, 0};
    double obj = 0, c[1];
    kc->status = MX_STATUS_ITERATING;
    kc->returnCode = 0;
    return callbackForFC(kc, 1, x, &obj, c, nullptr, nullptr);
  }
};

// Every callback runs; a stop outranks a failure, which outranks an
// evaluation error. Non-finite values are evaluation errors, but the limit
// on evaluations decides before the values are seen.
TEST_F(Failures, FCReturnCodesNonFiniteValuesAndTheLimit) {
  const char *hard =
      "ERROR: User routine for func_callback returned -500.\n"
      "       Could not evaluate objective or constraints at the current point.\n";
  struct Case {
    int rc1, rc2, result, returnCode, status;
    const char *text;
  } cases[] = {
      {1, 0, 0, 0, MX_STATUS_ITERATING, ""},
      {-502, 7, MX_RC_EVAL_ERR, 0, MX_STATUS_ITERATING, ""},
      {-502, -503, MX_RC_CALLBACK_ERR, MX_RC_CALLBACK_ERR, MX_STATUS_FINISHED, hard},
      {-500, -502, MX_RC_CALLBACK_ERR, MX_RC_CALLBACK_ERR, MX_STATUS_FINISHED, hard},
      {-503, -504, MX_RC_USER_TERMINATION, MX_RC_USER_TERMINATION, MX_STATUS_FINISHED, ""},
      {-504, -502, MX_RC_USER_TERMINATION, MX_RC_USER_TERMINATION, MX_STATUS_FINISHED, ""},
  };
  for (const Case &k : cases) {
    first.rc = k.rc1;
    second.rc = k.rc2;
    first.calls = second.calls = 0;
    EXPECT_EQ(evalFC(), k.result) << k.rc1 << " " << k.rc2;
    EXPECT_EQ(first.calls + second.calls, 2) << "every callback runs";
    EXPECT_EQ(kc->returnCode, k.returnCode);
    EXPECT_EQ(kc->status, k.status);
    EXPECT_EQ(out->take(), k.text);
  }
  kc->opt.debug = 1;
  first.rc = -502;
  second.rc = 0;
  EXPECT_EQ(evalFC(), MX_RC_EVAL_ERR);
  EXPECT_EQ(out->take(), "WARNING: Evaluation error occurred in user routine for func_callback.\n");
  first.rc = 0;
  second.value = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(evalFC(), MX_RC_EVAL_ERR);
  EXPECT_EQ(kc->eval.pointEvaluated, 0);
  second.value = 1.0;
  EXPECT_EQ(evalFC(), 0);
  EXPECT_EQ(kc->eval.pointEvaluated, 1);
  const auto before = kc->eval.counters.numFCevals;
  kc->opt.maxfevals = before + 2;
  EXPECT_EQ(evalFC(), 0);
  second.value = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(evalFC(), MX_RC_FEVAL_LIMIT_INFEAS);
  EXPECT_EQ(kc->returnCode, MX_RC_FEVAL_LIMIT_INFEAS);
  kc->eval.pointFeasible = 1;
  EXPECT_EQ(evalFC(), MX_RC_FEVAL_LIMIT_FEAS);
  EXPECT_EQ(kc->eval.counters.numFCevals, before + 3);
}

// The Hessian pipeline stops at its first failure; a user stop in a parent
// stops its children.
TEST_F(Failures, HessianFailureAndAParentsStop) {
  const double x[2] = {0, 0}, lambda[3] = {1, 0, 0};
  double hv[2];
  ASSERT_EQ(MX_set_cb_hess(kc, cb2, 0, nullptr, nullptr, scripted), 0);
  EXPECT_EQ(callbackForH(kc, MX_EVALTYPE_HV, x, 1.0, lambda, x, nullptr, hv), MX_RC_CALLBACK_ERR);
  EXPECT_EQ(second.calls, 0);
  EXPECT_EQ(out->take(),
            "ERROR: User routine for hess_callback undefined.\n"
            "ERROR: User routine for hess_callback returned -500.\n"
            "       Could not evaluate second derivatives at the current point.\n"
            "       No further progress can be made.\n");
  EXPECT_EQ(kc->returnCode, MX_RC_CALLBACK_ERR);
  MX_context_ptr child = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 11);
  ASSERT_NE(child, nullptr);
  ASSERT_EQ(mx_copy_problem(kc, child, 1, 0), 0);
  first.rc = -504;
  EXPECT_EQ(evalFC(), MX_RC_USER_TERMINATION);
  double obj, c[1];
  first.calls = 0;
  EXPECT_EQ(callbackForFC(child, 1, x, &obj, c, nullptr, nullptr), MX_RC_USER_TERMINATION);
  EXPECT_EQ(first.calls, 0);
  child->parentContext = nullptr;
  EXPECT_EQ(callbackForFC(child, 1, x, &obj, c, nullptr, nullptr), MX_RC_CALLBACK_ERR);
  EXPECT_EQ(MX_free(&child), 0);
}

TEST_F(EvalModel, EmptyCallbackIsStillCalled) {
  build(1, 0);
  Scripted s;
  MX_cb_context_ptr cb = nullptr;
  ASSERT_EQ(MX_add_eval_callback(kc, 0, 0, nullptr, scripted, &cb), 0);
  ASSERT_EQ(MX_set_cb_user_params(kc, cb, &s), 0);
  ASSERT_EQ(prepare(), 0);
  const double x[1] = {0};
  double obj = 0;
  EXPECT_EQ(callbackForFC(kc, 1, x, &obj, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(s.calls, 1);
}

// ---- Re-solve: linear structure changes, the Hessian stays ----

int routineC(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  if (q->type == MX_EVALTYPE_FC) r->c[0] = q->x[0] * q->x[0];
  if (q->type == MX_EVALTYPE_GA) r->jac[0] = 2 * q->x[0];
  if (q->type == MX_EVALTYPE_H) r->hess[0] = 2 * q->lambda[1];
  return 0;
}

struct Resolve : EvalModel {
  const double x[3] = {1, 2, 3};
  std::vector<double> g = std::vector<double>(3);
  void SetUp() override {
    EvalModel::SetUp();
    build(3, 2);
    const int lc[3] = {0, 0, 1}, lv[3] = {0, 1, 2}, v0[1] = {0};
    const double lk[3] = {1, 1, 4}, one[1] = {1};
    ASSERT_EQ(MX_add_con_linear_struct(kc, 3, lc, lv, lk), 0);
    ASSERT_EQ(MX_add_obj_quadratic_struct(kc, 1, v0, v0, one), 0);
    MX_cb_context_ptr cb = nullptr;
    const int cons[1] = {1}, jr[1] = {1};
    ASSERT_EQ(MX_add_eval_callback(kc, 0, 1, cons, routineC, &cb), 0);
    ASSERT_EQ(MX_set_cb_grad(kc, cb, 0, nullptr, 1, jr, v0, routineC), 0);
    ASSERT_EQ(MX_set_cb_hess(kc, cb, 1, v0, v0, routineC), 0);
    ASSERT_EQ(prepare(), 0);
    solved();
  }
  void evalGA() { ASSERT_EQ(callbackForGA(kc, x, g.data(), kc->pat.jac.values.data()), 0); }
};

TEST_F(Resolve, ChangesMergeIntoTheJacobianAndLeaveTheHessian) {
  const MxHessian hess = kc->pat.hess;
  const int v1[1] = {1}, v2[1] = {2}, c0[1] = {0};
  const double seven[1] = {7}, three[1] = {3};
  // A change of an existing coordinate goes in place: nothing to rebuild.
  ASSERT_EQ(MX_chg_con_linear_struct(kc, 1, c0, v1, seven), 0);
  EXPECT_EQ(kc->changeLevel, -1);
  evalGA();
  EXPECT_EQ(jacAt(0, 1), 7);
  // A deletion of a coordinate without terms changes nothing.
  ASSERT_EQ(MX_del_con_linear_term(kc, 1, 0), 0);
  EXPECT_EQ(kc->changeLevel, -1);
  // A change at a new coordinate, and an add that sums with an old term.
  ASSERT_EQ(MX_chg_con_linear_struct(kc, 1, c0, v2, three), 0);
  ASSERT_EQ(MX_add_con_linear_term(kc, 0, 0, 0.25), 0);
  EXPECT_EQ(kc->changeLevel, 1);
  ASSERT_EQ(prepare(), 0);
  solved();
  EXPECT_EQ(kc->pat.jac.nnz, 5);
  evalGA();
  EXPECT_EQ(jacAt(0, 0), 1.25);
  EXPECT_EQ(jacAt(0, 2), 3);
  EXPECT_EQ(jacAt(1, 0), 2);
  // The Hessian pattern is the one of the first solve, and still evaluates.
  EXPECT_EQ(kc->pat.hess.indexVars1, hess.indexVars1);
  EXPECT_EQ(kc->pat.hess.indexVars2, hess.indexVars2);
  const double lambda[5] = {0, 3, 0, 0, 0};
  ASSERT_EQ(callbackForH(kc, MX_EVALTYPE_H, x, 2.0, lambda, nullptr, kc->pat.hess.values.data(), nullptr), 0);
  EXPECT_EQ(hessAt(0, 0), 2.0 * 2 + 6);
  // An update without solve leaves the linear values alone in place.
  std::fill(kc->pat.jac.values.begin(), kc->pat.jac.values.end(), 9.0);
  mxRefillLinearValues(kc);
  EXPECT_EQ(jacAt(0, 0), 1.25);
  EXPECT_EQ(jacAt(1, 0), 0.0);
  // Items added after a solve: the patterns get their rows at the next one.
  solved();
  build(1, 1);
  ASSERT_EQ(prepare(), 0);
  EXPECT_EQ(kc->pat.jac.rowPtr.size(), 4u);
  EXPECT_EQ(kc->pat.hess.rowPtr.size(), 5u);
  EXPECT_EQ(kc->pat.hess.indexVars2, hess.indexVars2);
  EXPECT_EQ(kc->pat.objGrad.mask.size(), 4u);
}

TEST_F(Resolve, DeletedTermsLeaveThePatternAndEmptyConstraintsAreIgnored) {
  const int c1[1] = {1}, v2[1] = {2}, c00[2] = {0, 0}, v01[2] = {0, 1};
  ASSERT_EQ(MX_del_con_linear_struct(kc, 1, c1, v2), 0);
  ASSERT_EQ(MX_del_con_linear_struct(kc, 2, c00, v01), 0);
  EXPECT_EQ(kc->changeLevel, 1);
  ASSERT_EQ(MX_set_con_lobnd(kc, 0, -1.0), 0);
  ASSERT_EQ(prepare(), 0);
  EXPECT_EQ(out->take(), "WARNING: 1 constraint is constant or undefined and will be ignored.\n");
  EXPECT_EQ(kc->pat.jac.nnz, 1);  // only the callback's entry (1, 0)
  EXPECT_EQ(mxFindJacEntry(kc->pat.jac, 1, 2), -1);
}

// ---- Least squares ----

int residuals(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  const double *x = q->x;
  if (q->type == MX_EVALTYPE_RSD) {
    r->rsd[0] = x[0] * x[1];  // residual 1
    r->rsd[1] = x[0] * x[0];  // residual 0
  }
  if (q->type == MX_EVALTYPE_RSDJAC) {
    const double j[4] = {2 * x[0], 1, x[1], x[0]};  // (0,0) (0,1) (1,0) (1,1)
    for (int k = 0; k < 4; ++k) r->rsdJac[k] = j[k];
  }
  return 0;
}

TEST_F(EvalModel, ResidualsAddCallbacksLinearTermsAndConstants) {
  ASSERT_EQ(MX_add_vars(kc, 2, nullptr), 0);
  ASSERT_EQ(MX_add_rsds(kc, 2, nullptr), 0);
  const int rsds[2] = {1, 0}, jr[4] = {0, 0, 1, 1}, jv[4] = {0, 1, 0, 1};
  MX_cb_context_ptr cb = nullptr;
  ASSERT_EQ(MX_add_lsq_eval_callback(kc, 2, rsds, residuals, &cb), 0);
  ASSERT_EQ(MX_set_cb_rsd_jac(kc, cb, 4, jr, jv, residuals), 0);
  ASSERT_EQ(MX_add_rsd_linear_term(kc, 0, 1, 3.0), 0);
  ASSERT_EQ(MX_add_rsd_constant(kc, 0, 1.0), 0);
  ASSERT_EQ(prepare(), 0);
  EXPECT_EQ(kc->pat.rsdJac.nnz, 4);
  const double x[2] = {2, 5};
  double r[2];
  ASSERT_EQ(callbackForNLSR(kc, x, r), 0);
  EXPECT_EQ(r[0], 4 + 15 + 1);
  EXPECT_EQ(r[1], 10);
  std::vector<double> J(4);
  ASSERT_EQ(callbackForNLSJ(kc, x, J.data()), 0);
  const double expected[4] = {4, 1 + 3, 5, 2};
  for (int k = 0; k < 4; ++k) EXPECT_EQ(J[mxFindJacEntry(kc->pat.rsdJac, jr[k], jv[k])], expected[k]) << k;
}

// ---- Hooks ----

int hookReturns(MX_context_ptr, const double *, const double *, void *p) { return *static_cast<int *>(p); }

int linsolverReturns(MX_context_ptr, MX_linsys_request_ptr, MX_linsys_result_ptr res, void *p) {
  res->negeig = -1;
  return *static_cast<int *>(p);
}

TEST_F(EvalModel, HooksEndTheSolveOrFallBack) {
  build(1, 0);
  int rc = 0;
  const double x[1] = {0}, lambda[1] = {0};
  EXPECT_EQ(callbackForNewPoint(kc, x, lambda), 1) << "no hook: go on";
  ASSERT_EQ(MX_set_newpt_callback(kc, hookReturns, &rc), 0);
  ASSERT_EQ(MX_set_mip_node_callback(kc, hookReturns, &rc), 0);
  EXPECT_EQ(callbackForNewPoint(kc, x, lambda), 1);
  rc = -504;
  EXPECT_EQ(callbackForNewPoint(kc, x, lambda), 0);
  EXPECT_EQ(kc->returnCode, MX_RC_USER_TERMINATION);
  EXPECT_EQ(kc->status, MX_STATUS_FINISHED);
  EXPECT_EQ(out->take(), "");
  kc->opt.debug = 1;
  EXPECT_EQ(callbackForNewPoint(kc, x, lambda), 0);
  EXPECT_EQ(out->take(), "\nEXIT: User routine for newptCallback returned -504.\n");
  rc = -7;
  EXPECT_EQ(callbackForNewPoint(kc, x, lambda), 0);
  EXPECT_EQ(kc->returnCode, MX_RC_CALLBACK_ERR);
  EXPECT_EQ(out->take(),
            "ERROR: User routine for newptCallback returned -7.\n"
            "       User's newpoint operation failed.\n");
  // Children keep the new-point and linear solver hooks only.
  MX_context_ptr child = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 1);
  ASSERT_EQ(mx_copy_problem(kc, child, 1, 0), 0);
  EXPECT_EQ(child->hooks.newpt, &hookReturns);
  EXPECT_EQ(child->hooks.mipNode, nullptr);
  EXPECT_EQ(MX_free(&child), 0);
  // The linear solver hook falls back to ours or fails the solve.
  rc = MX_RC_LINEAR_SOLVER_ERR;
  ASSERT_EQ(MX_set_linsolver_callback(kc, linsolverReturns, &rc), 0);
  MX_linsys_request req{};
  MX_linsys_result res{};
  req.phase = MX_LINSOLVER_PHASE_INIT;
  req.linsysID = 3;
  EXPECT_EQ(MXCBlinsolver(kc, &req, &res, 1), 1);
  EXPECT_EQ(out->take(),
            "WARNING: User routine for linsolver_callback returned -522.\n"
            "         Using Morvex internal linear solver for this system.\n");
  rc = 0;
  req.phase = MX_LINSOLVER_PHASE_FACTOR;
  kc->resolvedAlgorithm = 1;
  const int code = mx_guard(kc, [&] { return MXCBlinsolver(kc, &req, &res, 1); });
  EXPECT_EQ(code, MX_RC_LINEAR_SOLVER_ERR);
  EXPECT_EQ(out->take(),
            "ERROR: User routine for linsolver callback requires\n"
            "       non-negative 'negeig' value for factorization phase\n"
            "       when using algorithm=1.\n"
            "ERROR: Fatal failure from linear solver callback routine (linsysID=3).\n");
  EXPECT_EQ(MXCBlinsolver(kc, &req, &res, 0), 0);
}

}  // namespace
