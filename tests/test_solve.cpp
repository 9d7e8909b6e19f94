// Solves through MX_solve that stop before any algorithm: the start point
// and its derivatives as the accessors report them, callback failures,
// problem errors, reports, and re-solves of a changed model.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "eval_fixture.h"
#include "interface/context.h"
#include "interface/structures.h"

namespace {

// Objective part x0 x2; constraint 0 part x0^2 x2. No Hessian routine.
int mixedFunc(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  const double *x = q->x;
  *r->obj = x[0] * x[2];
  r->c[0] = x[0] * x[0] * x[2];
  return 0;
}
int mixedGrad(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  const double *x = q->x;
  r->objGrad[0] = x[0];  // pattern order: x2, then x0
  r->objGrad[1] = x[2];
  r->jac[0] = 2 * x[0] * x[2];
  r->jac[1] = x[0] * x[0];
  return 0;
}

// x0^2 through a callback that fails in the ways a user routine can.
struct Failing {
  static int code;
  static int func(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
    *r->obj = code == 1 ? NAN : q->x[0] * q->x[0];
    return code == 1 ? 0 : code;
  }
  static int grad(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
    r->objGrad[0] = 2 * q->x[0];
    return 0;
  }
};
int Failing::code = 0;

struct Solve : EvalModel {
  void setInt(int id, int v) { ASSERT_EQ(MX_set_int_param(kc, id, v), 0); }
  void expectOut(const std::string &want) { EXPECT_NE(out->text.find(want), std::string::npos) << out->text; }
  // Moves x0's start outside an upper bound of 1 that the solve does not enforce.
  void infeasibleStart() {
    ASSERT_EQ(MX_set_var_upbnd(kc, 0, 1.0), 0);
    ASSERT_EQ(MX_set_int_param_by_name(kc, "honorbnds", 0), 0);
  }
  // f = x0^2 from x0 = 2 over n variables, ending after the start point.
  void buildSquare(int n = 1) {
    ASSERT_EQ(MX_add_vars(kc, n, nullptr), 0);
    ASSERT_EQ(MX_set_var_primal_init_value(kc, 0, 2.0), 0);
    MX_cb_context_ptr cb = nullptr;
    ASSERT_EQ(MX_add_eval_callback(kc, 1, 0, nullptr, Failing::func, &cb), 0);
    const int v0[] = {0};
    ASSERT_EQ(MX_set_cb_grad(kc, cb, 1, v0, 0, nullptr, nullptr, Failing::grad), 0);
    setInt(MX_PARAM_ALGORITHM, -2);
  }

  // f = 2 x0 + x1^2 + x0 x2
  // c0 = x0 + x1 + x0^2 x2      (linear + callback)
  // c1 = 3 x0 x2 + x1           (quadratic + linear)
  // c2 = ||(x0, x1)|| - x2 <= 0 (L2 norm + linear)
  void buildMixed() {
    build(3, 3);
    const double x0[] = {1, 2, 3};
    ASSERT_EQ(MX_set_var_primal_init_values_all(kc, x0), 0);
    ASSERT_EQ(MX_add_obj_linear_term(kc, 0, 2.0), 0);
    ASSERT_EQ(MX_add_obj_quadratic_term(kc, 1, 1, 1.0), 0);
    const int lc[] = {0, 0, 1, 2}, lv[] = {0, 1, 1, 2};
    const double lk[] = {1, 1, 1, -1};
    ASSERT_EQ(MX_add_con_linear_struct(kc, 4, lc, lv, lk), 0);
    ASSERT_EQ(MX_add_con_quadratic_term(kc, 1, 0, 2, 3.0), 0);
    const int coords[] = {0, 1}, vars[] = {0, 1};
    const double coefs[] = {1, 1};
    ASSERT_EQ(MX_add_con_L2norm(kc, 2, 2, 2, coords, vars, coefs, nullptr), 0);
    ASSERT_EQ(MX_set_con_upbnd(kc, 2, 0.0), 0);
    const int cons[] = {0};
    MX_cb_context_ptr cb = nullptr;
    ASSERT_EQ(MX_add_eval_callback(kc, 1, 1, cons, mixedFunc, &cb), 0);
    const int gv[] = {2, 0}, jc[] = {0, 0}, jv[] = {0, 2};
    ASSERT_EQ(MX_set_cb_grad(kc, cb, 2, gv, 2, jc, jv, mixedGrad), 0);
  }
  double jac(int row, int var) {
    MX_nnz nnz = 0;
    EXPECT_EQ(MX_get_jacobian_nnz(kc, &nnz), 0);
    std::vector<int> r(nnz), c(nnz);
    std::vector<double> v(nnz);
    EXPECT_EQ(MX_get_jacobian_values(kc, r.data(), c.data(), v.data()), 0);
    for (MX_nnz k = 0; k < nnz; ++k)
      if (r[k] == row && c[k] == var) return v[k];
    ADD_FAILURE() << "no entry (" << row << ", " << var << ")";
    return NAN;
  }
};

TEST_F(Solve, MixedModelStartPointAndResolvesMatchHandValues) {
  buildMixed();
  setInt(MX_PARAM_ALGORITHM, -2);
  // The start is evaluated once per solve: the presolve's evaluation serves
  // the solve, and an unchanged re-solve repeats it.
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    if (round == 2) ASSERT_EQ(MX_set_int_param_by_name(kc, "presolve", 0), 0);
    ASSERT_EQ(MX_solve(kc), 0) << out->text;
    int fc = 0, ga = 0;
    ASSERT_EQ(MX_get_number_FC_evals(kc, &fc), 0);
    ASSERT_EQ(MX_get_number_GA_evals(kc, &ga), 0);
    EXPECT_EQ(fc, 1);
    EXPECT_EQ(ga, 1);
  }
  EXPECT_EQ(MXL_get_number_FC_evals(nullptr), MX_RC_BAD_KCPTR);
  int status = 1;
  double obj = 0, x[3], lambda[6];
  ASSERT_EQ(MX_get_solution(kc, &status, &obj, x, lambda), 0);
  EXPECT_EQ(status, 0);
  EXPECT_DOUBLE_EQ(obj, 2 + 4 + 3);
  double c[3], g[3];
  ASSERT_EQ(MX_get_con_values_all(kc, c), 0);
  ASSERT_EQ(MX_get_objgrad_values_all(kc, g), 0);
  const double s5 = std::sqrt(5.0);
  const double cWant[3] = {1 + 2 + 3, 9 + 2, s5 - 3}, gWant[3] = {2 + 3, 4, 1};
  const double J[3][3] = {{1 + 6, 1, 1}, {9, 1, 3}, {1 / s5, 2 / s5, -1}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_DOUBLE_EQ(c[i], cWant[i]) << i;
    EXPECT_DOUBLE_EQ(g[i], gWant[i]) << i;
    for (int j = 0; j < 3; ++j) EXPECT_DOUBLE_EQ(jac(i, j), J[i][j]) << i << "," << j;
  }
  // Row access agrees with the whole matrix.
  MX_nnz rowNnz = 0;
  int rv[3];
  double rj[3];
  ASSERT_EQ(MX_get_jacobian_nnz_one(kc, 1, &rowNnz), 0);
  ASSERT_EQ(rowNnz, 3);
  ASSERT_EQ(MX_get_jacobian_values_one(kc, 1, rv, rj), 0);
  for (int k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(rj[k], jac(1, rv[k]));
  // c2 = sqrt(5) - 3 is below its upper bound 0: no violation.
  int infeas[3];
  double viols[3];
  ASSERT_EQ(MX_get_con_viols_all(kc, infeas, viols), 0);
  EXPECT_EQ(infeas[2], 0);
  EXPECT_EQ(viols[2], 0.0);
  EXPECT_EQ(kc->resolvedHessopt, 2);  // without a Hessian routine BFGS is kept

  // A changed model through re-solves and MX_update. The pattern merges
  // are tested on the evaluator; here the public accessors must see them.
  MX_nnz before = 0;
  ASSERT_EQ(MX_get_jacobian_nnz(kc, &before), 0);
  // A new coefficient in place, a deleted coordinate and a constant.
  const int c1[] = {1}, v1[] = {1};
  const double k4[] = {4.0};
  ASSERT_EQ(MX_chg_con_linear_struct(kc, 1, c1, v1, k4), 0);
  ASSERT_EQ(MX_solve(kc), 0);
  EXPECT_DOUBLE_EQ(jac(1, 1), 4.0);
  ASSERT_EQ(MX_get_con_value(kc, 1, &c[1]), 0);
  EXPECT_DOUBLE_EQ(c[1], 9 + 8);
  const int c0[] = {0};
  ASSERT_EQ(MX_del_con_linear_struct(kc, 1, c0, v1), 0);
  ASSERT_EQ(MX_add_con_constant(kc, 0, 10.0), 0);
  ASSERT_EQ(MX_solve(kc), 0);
  MX_nnz after = 0;
  ASSERT_EQ(MX_get_jacobian_nnz(kc, &after), 0);
  EXPECT_EQ(after, before - 1);
  ASSERT_EQ(MX_get_con_value(kc, 0, &c[0]), 0);
  EXPECT_DOUBLE_EQ(c[0], 1 + 3 + 10);
  EXPECT_DOUBLE_EQ(jac(0, 0), 7);
  // A new coordinate through MX_update: the pattern grows, linear values only.
  ASSERT_EQ(MX_chg_con_linear_struct(kc, 1, c0, v1, k4), 0);
  ASSERT_EQ(MX_update(kc), 0);
  EXPECT_EQ(MX_get_jacobian_nnz(kc, &after), 0);
  EXPECT_EQ(after, before);
  EXPECT_DOUBLE_EQ(jac(0, 1), 4.0);
}

TEST_F(Solve, ViolationsOfBoundsAndIntegrality) {
  ASSERT_EQ(MX_add_vars(kc, 2, nullptr), 0);
  ASSERT_EQ(MX_set_var_upbnd(kc, 0, 1.0), 0);
  ASSERT_EQ(MX_set_var_type(kc, 1, MX_VARTYPE_INTEGER), 0);
  const double x0[] = {1.5, 2.3};
  ASSERT_EQ(MX_set_var_primal_init_values_all(kc, x0), 0);
  int bnd[2], integ[2];
  double v[2];
  ASSERT_EQ(MX_get_var_viols_all(kc, bnd, integ, v), 0);
  // x0 is above its bound; x1 is fractional and nearer its floor.
  EXPECT_EQ((std::vector<int>{bnd[0], integ[0], bnd[1], integ[1]}), (std::vector<int>{1, 0, 0, -1}));
  EXPECT_DOUBLE_EQ(v[0], 0.5);
  EXPECT_NEAR(v[1], 0.3, 1e-12);
  // A bad index is refused without poisoning the context.
  EXPECT_EQ(MX_get_var_viol(kc, 7, bnd, integ, v), MX_RC_BAD_VAR_INDEX);
  EXPECT_EQ(MX_get_var_viol(kc, 0, bnd, nullptr, nullptr), 0);
}

// A solve of f = x0^2 from x0 = 2 ends with a failing callback's code, at
// the evaluation limit as feasible or not, and picks its quasi-Newton update
// by the number of variables.
TEST_F(Solve, SquareModelEndsByCallbackLimitOrSize) {
  struct Case { int failure, n; bool limit, infeasible; int expect; const char *text; };
  const Case cases[] = {
      {MX_RC_EVAL_ERR, 1, false, false, MX_RC_EVAL_ERR,
       "ERROR: Could not evaluate objective or constraints at the initial point."},
      {1, 1, false, false, MX_RC_EVAL_ERR, "Objective function undefined at the initial point."},
      {MX_RC_USER_TERMINATION, 1, false, false, MX_RC_USER_TERMINATION, "EXIT: Termination by user."},
      {-7, 1, false, false, MX_RC_CALLBACK_ERR, "EXIT: Callback function error."},
      {0, 1, true, false, MX_RC_FEVAL_LIMIT_FEAS, ""},
      {0, 1, true, true, MX_RC_FEVAL_LIMIT_INFEAS, ""},
      {0, 1000, false, false, 0, "Switching to hessopt=MX_HESSOPT_BFGS."},
      {0, 1001, false, false, 0, "Switching to hessopt=MX_HESSOPT_LBFGS."},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(&c - cases);
    fresh();
    Failing::code = c.failure;
    buildSquare(c.n);
    if (c.limit) setInt(MX_PARAM_MAXFEVALS, 1);
    if (c.infeasible) infeasibleStart();
    if (c.n > 1) {
      setInt(MX_PARAM_ALGORITHM, -1);
      setInt(MX_PARAM_HESSOPT, 1);
    }
    EXPECT_EQ(MX_solve(kc), c.expect) << out->text;
    expectOut(c.text);
    int status = 1;
    double obj = 0;
    EXPECT_EQ(MX_get_solution(kc, &status, &obj, nullptr, nullptr), 0);
    EXPECT_EQ(status, c.expect);
    if (c.expect == MX_RC_EVAL_ERR) EXPECT_EQ(obj, MX_INFINITY);  // the point is marked undefined
    if (c.n > 1) EXPECT_EQ(kc->resolvedHessopt, c.n > 1000 ? 6 : 2);
  }
  Failing::code = 0;
}

// The objective target ends at a start that is feasible; outside its
// bounds the same start goes on.
TEST_F(Solve, ObjectiveTargetDependsOnFeasibility) {
  Failing::code = 0;
  buildSquare();
  setInt(MX_PARAM_ALGORITHM, 0);
  ASSERT_EQ(MX_set_double_param(kc, MX_PARAM_FSTOPVAL, 5.0), 0);
  EXPECT_EQ(MX_solve(kc), 0) << out->text;  // f = 4 at x = 2
  expectOut("EXIT: Satisfactory solution found.\n");
  infeasibleStart();
  out->take();
  EXPECT_EQ(MX_solve(kc), 0) << out->text;
  expectOut("  Iter ");  // the algorithm ran
  double x = 0.0;
  ASSERT_EQ(MX_get_var_primal_value(kc, 0, &x), 0);
  EXPECT_LE(x, 1.0 + 1e-6);
}

TEST_F(Solve, CrossedBoundsAreReportedAndCanBeRepaired) {
  build(2, 1);
  const int cv[] = {0, 1};
  const double ck[] = {1, 1};
  ASSERT_EQ(MX_add_con_linear_struct_one(kc, 2, 0, cv, ck), 0);
  setInt(MX_PARAM_ALGORITHM, -2);
  ASSERT_EQ(MX_set_var_lobnd(kc, 1, 2.0), 0);
  ASSERT_EQ(MX_set_var_upbnd(kc, 1, 1.0), 0);
  EXPECT_EQ(MX_solve(kc), MX_RC_INFEAS_VAR_BOUNDS);
  expectOut("ERROR: Infeasible variable bound specified.\n       Variable: x[1]\n");
  out->take();
  ASSERT_EQ(MX_set_var_upbnd(kc, 1, 3.0), 0);
  ASSERT_EQ(MX_set_con_lobnd(kc, 0, 5.0), 0);
  ASSERT_EQ(MX_set_con_upbnd(kc, 0, 4.0), 0);
  EXPECT_EQ(MX_solve(kc), MX_RC_INFEAS_CON_BOUNDS);
  expectOut("ERROR: Infeasible constraint bound specified.\n       Constraint: c[0]\n");
  ASSERT_EQ(MX_set_con_upbnd(kc, 0, 6.0), 0);
  EXPECT_EQ(MX_solve(kc), 0) << out->text;
  double c = 0;
  ASSERT_EQ(MX_get_con_value(kc, 0, &c), 0);
  EXPECT_DOUBLE_EQ(c, 2.0);  // start 0 projected onto x1 >= 2
}

TEST_F(Solve, EarlyEndsPrintReportsAndWriteFiles) {
  const std::string dir = testing::TempDir();
  const std::string csv = dir + "mx_early.csv", json = dir + "mx_early.json";
  std::remove(csv.c_str());
  std::remove(json.c_str());
  buildMixed();
  setInt(MX_PARAM_OUT_CSVINFO, 1);
  setInt(MX_PARAM_OUT_JSONINFO, 1);
  ASSERT_EQ(MX_set_char_param(kc, MX_PARAM_OUT_CSVNAME, csv.c_str()), 0);
  ASSERT_EQ(MX_set_char_param(kc, MX_PARAM_OUT_JSONNAME, json.c_str()), 0);
  for (int algorithm : {-1, -2}) {
    out->take();
    setInt(MX_PARAM_ALGORITHM, algorithm);
    ASSERT_EQ(MX_solve(kc), 0) << out->text;
    expectOut(algorithm == -1 ? "EXIT: Termination after presolve." : "EXIT: Termination after initial point.");
    expectOut("Problem Characteristics");
  }
  std::ifstream c(csv);
  std::string header, row;
  std::getline(c, header);
  std::getline(c, row);
  EXPECT_FALSE(row.empty());  // a solve row, not only the header
  EXPECT_TRUE(std::ifstream(json).good());
}

int countingCalls = 0;
int counting(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r, void *) {
  ++countingCalls;
  *r->obj = q->x[0];
  return 0;
}

// Model errors found before any evaluation: code, message, and whether the
// context can still be used.
TEST_F(Solve, ModelErrorsStopBeforeAnyEvaluation) {
  struct Case {
    const char *name;
    void (*build)(MX_context_ptr);
    int code;
    const char *text;
    bool poisoned;
  };
  const Case cases[] = {
      {"lower bound beyond bndrange",
       [](MX_context_ptr k) { MX_set_var_lobnd(k, 0, 1e21); }, MX_RC_BAD_VAR_BOUND,
       "ERROR: Infeasible problem specification.\n", true},
      {"constant constraint out of its bounds",
       [](MX_context_ptr k) {
         MX_add_cons(k, 1, nullptr);
         MX_add_con_constant(k, 0, 5.0);
         MX_set_con_upbnd(k, 0, 1.0);
       },
       MX_RC_INFEAS_CON_BOUNDS, "is constant and\n", false},
      {"exact gradients without a routine",
       [](MX_context_ptr k) { MX_set_cb_gradopt(k, k->model->callbacks[0].get(), MX_GRADOPT_EXACT); },
       MX_RC_BAD_PARAMINPUT, "ERROR: A callback was added with gradopt=1, but user routine gradCallback is undefined.\n",
       true},
      {"L2 norm on a two-sided constraint",
       [](MX_context_ptr k) {
         MX_add_cons(k, 1, nullptr);
         const int co[] = {0}, va[] = {0};
         const double cf[] = {1};
         MX_add_con_L2norm(k, 0, 1, 1, co, va, cf, nullptr);
         MX_set_con_lobnd(k, 0, -1.0);
         MX_set_con_upbnd(k, 0, 1.0);
       },
       MX_RC_BAD_CONSTRAINT, "ERROR: Currently L2 norm structure may only be added to one-sided\n", true},
      {"residuals beside an objective", [](MX_context_ptr k) { MX_add_rsds(k, 1, nullptr); }, MX_RC_BAD_OBJECTIVE,
       "ERROR: Both residuals and an objective function have been added to the model.\n", true},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.name);
    fresh();
    ASSERT_EQ(MX_add_vars(kc, 1, nullptr), 0);
    MX_cb_context_ptr cb = nullptr;
    ASSERT_EQ(MX_add_eval_callback(kc, 1, 0, nullptr, counting, &cb), 0);
    setInt(MX_PARAM_ALGORITHM, -2);
    c.build(kc);
    countingCalls = 0;
    EXPECT_EQ(MX_solve(kc), c.code) << out->text;
    expectOut(c.text);
    EXPECT_EQ(countingCalls, 0);
    int n = 0;
    EXPECT_EQ(MX_get_number_vars(kc, &n), c.poisoned ? MX_RC_ILLEGAL_CALL : 0);
  }
}

// The automatic choices fill the resolved twins from the class of the model
// and never touch the user's option slots; illegal values are reported.
TEST_F(Solve, AutomaticChoicesFollowTheModelClass) {
  // LP: 0 <= x, x0 + x1 >= 1, minimize x0 + 2 x1.
  build(2, 1);
  const int v[] = {0, 1};
  const double k[] = {1, 1}, zero[] = {0, 0};
  ASSERT_EQ(MX_set_var_lobnds_all(kc, zero), 0);
  ASSERT_EQ(MX_add_con_linear_struct_one(kc, 2, 0, v, k), 0);
  ASSERT_EQ(MX_set_con_lobnd(kc, 0, 1.0), 0);
  ASSERT_EQ(MX_add_obj_linear_term(kc, 1, 2.0), 0);
  ASSERT_EQ(MX_update(kc), 0);
  mxlInitialize(kc);
  EXPECT_TRUE(kc->drv.cls.isLP);
  EXPECT_EQ((std::vector<int>{kc->resolvedAlgorithm, kc->resolvedMurule, kc->opt.algorithm, kc->opt.bar_murule}),
            (std::vector<int>{1, 4, 0, 0}));
  // A user's choice stays; what depends on it follows.
  setInt(MX_PARAM_ALGORITHM, 2);
  mxlInitialize(kc);
  EXPECT_EQ((std::vector<int>{kc->resolvedAlgorithm, kc->resolvedMurule}), (std::vector<int>{2, 1}));

  // A choice the model rules out is corrected in the twin only. A QP with
  // a free x0 and x1 now.
  fresh();
  build(2, 1);
  const double km[] = {1, -1};
  ASSERT_EQ(MX_add_con_linear_struct_one(kc, 2, 0, v, km), 0);
  ASSERT_EQ(MX_set_con_upbnd(kc, 0, 1.0), 0);
  ASSERT_EQ(MX_add_obj_quadratic_term(kc, 0, 0, 1.0), 0);
  setInt(MX_PARAM_ALGORITHM, 2);
  ASSERT_EQ(MX_set_int_param_by_name(kc, "bar_murule", 3), 0);
  ASSERT_EQ(MX_set_int_param_by_name(kc, "honorbnds", 1), 0);
  ASSERT_EQ(MX_set_int_param_by_name(kc, "bar_penaltycons", 0), 0);
  ASSERT_EQ(MX_update(kc), 0);
  out->take();
  setHonorBnds(kc);
  mxlInitialize(kc);
  expectOut("WARNING: Option bar_murule=3 not valid for Interior/CG algorithm.\n"
            "         Switching to bar_murule=1.\n");
  EXPECT_EQ(kc->resolvedMurule, 1);
  EXPECT_EQ(kc->opt.bar_murule, 3);
  // No variable has a bound: there is nothing to honor.
  EXPECT_EQ(kc->resolvedHonorbnds, 0);
  EXPECT_EQ(kc->var.honorBnds.v[1], 0);
  // An illegal Hessian option and a huge bound are reported, the bound kept.
  fresh();
  ASSERT_EQ(MX_add_vars(kc, 2, nullptr), 0);
  ASSERT_EQ(MX_add_obj_linear_term(kc, 0, 1.0), 0);
  ASSERT_EQ(MX_set_var_upbnd(kc, 0, 1e25), 0);
  setInt(MX_PARAM_HESSOPT, 7);
  setInt(MX_PARAM_ALGORITHM, -2);
  ASSERT_EQ(MX_solve(kc), 0) << out->text;
  expectOut("          Changing 'hessopt' from 7 to auto.\n");
  expectOut("WARNING: 1 finite variable bound is >= bndrange in magnitude.\n");
  // A linear objective without callbacks needs no quasi-Newton update.
  EXPECT_EQ(kc->resolvedHessopt, 1);
  double bound = 0;
  ASSERT_EQ(MX_get_var_upbnd(kc, 0, &bound), 0);
  EXPECT_EQ(bound, 1e25);
}

// What is not built yet says so and returns -600; no solve is pretended.
TEST_F(Solve, UnbuiltStepsEndWithAnInternalError) {
  struct Case { const char *option; int value; bool integer; const char *what; };
  const Case cases[] = {
      {"algorithm", 4, false, "active-set"},
      {"tuner", 1, false, "tuner"},
      {"ms_enable", 1, false, "multi-start"},
      {"algorithm", -2, true, "mixed-integer"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    fresh();
    ASSERT_EQ(MX_add_vars(kc, 1, nullptr), 0);
    ASSERT_EQ(MX_add_obj_linear_term(kc, 0, 1.0), 0);
    if (c.integer) ASSERT_EQ(MX_set_var_type(kc, 0, MX_VARTYPE_INTEGER), 0);
    ASSERT_EQ(MX_set_int_param_by_name(kc, c.option, c.value), 0);
    EXPECT_EQ(MX_solve(kc), MX_RC_INTERNAL_ERROR);
    const size_t at = out->text.find("Internal error:");
    ASSERT_NE(at, std::string::npos) << out->text;
    EXPECT_NE(out->text.find(c.what, at), std::string::npos) << out->text;
    EXPECT_EQ(out->text.find("EXIT: Locally optimal"), std::string::npos);
  }
}

}  // namespace
