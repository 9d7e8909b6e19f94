// Model data through the public calls: the call frame, poisoning, the three
// forms of a family, and the per-family rules on values; structure calls:
// what they refuse, what they do to types and phases, and the checks of the
// merge.
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "eval_fixture.h"
#include "interface/frame.h"
#include "interface/structures.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

int noop(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr, MX_eval_result_ptr, void *) { return 0; }

using Model = EvalModel;

// Bad handles are refused without touching the context; at debug level 2
// every call announces itself, and while a solve runs a change of the record
// behind the library's back is reported; a fatal error poisons every checked
// call but free, quietly.
TEST_F(Model, HandlesAndTheRecordAreCheckedAndAFatalErrorPoisons) {
  build(3, 2);
  testing::internal::CaptureStderr();
  EXPECT_EQ(MX_set_var_lobnd(nullptr, 0, 1.0), MX_RC_BAD_KCPTR);
  kc->magic = 0;
  EXPECT_EQ(MX_set_var_lobnds_all(kc, nullptr), MX_RC_BAD_KCPTR);
  EXPECT_EQ(MX_get_var_lobnd(kc, 0, nullptr), MX_RC_BAD_KCPTR);
  kc->magic = 0x4AEC329Au;
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("Fatal: MX_set_var_lobnds() passed NULL for morvex context pointer.\n"), std::string::npos);
  EXPECT_NE(err.find("Fatal: MX_set_var_lobnds() passed morvex context pointer with bad magic number.\n"),
            std::string::npos);
  EXPECT_EQ(kc->fatalError, 0);
  kc->opt.debug = 2;
  int n = 0;
  const std::string entered = "--- Debug: entered MX_get_number_vars, status=0\n";
  kc->solveInProgress = 1;
  kc->debugChecksum = computeDebugCheckSum(kc);
  ASSERT_EQ(MX_get_number_vars(kc, &n), 0);
  EXPECT_EQ(out->take(), entered);
  kc->var.x[1] = 1234.0;  // an application writing through a stale pointer
  ASSERT_EQ(MX_get_number_vars(kc, &n), 0);
  EXPECT_EQ(out->take(), entered + "---   WARNING: MXL_context corrupted by application!\n");
  kc->solveInProgress = 0;
  kc->opt.debug = 0;
  const int idx[3] = {0, 1, 2};
  const double lo[3] = {1.0, 2.0, kNaN};
  EXPECT_EQ(MX_set_var_lobnds(kc, 3, idx, lo), MX_RC_BAD_VAR_BOUND);
  EXPECT_EQ(out->take(), "ERROR: The lower bound specified for variable index 2 is undefined.\n");
  // Entries before the bad one stay stored.
  EXPECT_EQ(kc->var.lo[0], 1.0);
  EXPECT_EQ(kc->var.lo[1], 2.0);
  EXPECT_EQ(kc->var.lo[2], -MX_INFINITY);
  EXPECT_EQ(kc->returnCode, MX_RC_BAD_VAR_BOUND);
  double v = 0.0;
  EXPECT_EQ(MX_set_var_upbnd(kc, 0, 1.0), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_add_vars(kc, 1, nullptr), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_var_lobnd(kc, 0, &v), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(), "");
}

// Every refused call names itself, the argument or the index at fault. Each
// case runs on a fresh model of n variables and m constraints (none if n < 0).
TEST_F(Model, RefusedCallsReturnTheirCodeAndExplainIt) {
  const auto refused = [&](int n, int m, auto call, int code, const char *text) {
    fresh(n, m);
    EXPECT_EQ(call(), code) << text;
    EXPECT_EQ(out->take(), text);
  };
  const int idx[1] = {0}, twice[3] = {0, 2, 0};
  const double nan[1] = {kNaN};
  MX_cb_context_ptr cb = nullptr;
  // A family must be added first, though an empty add opens it and zero
  // counts need no arrays.
  refused(-1, 0, [&] { return MX_set_var_lobnd(kc, 0, 1.0); }, MX_RC_ILLEGAL_CALL,
          "ERROR: MX_add_var*() must be called before MX_set_var_lobnds().\n");
  refused(-1, 0, [&] {
    EXPECT_EQ(MX_add_vars(kc, 0, nullptr), 0);
    EXPECT_EQ(MX_set_var_lobnds(kc, 0, nullptr, nullptr), 0);
    EXPECT_EQ(MX_set_var_lobnds_all(kc, nullptr), 0);
    return MX_set_con_lobnds(kc, 0, nullptr, nullptr);
  }, MX_RC_ILLEGAL_CALL, "ERROR: MX_add_con*() must be called before MX_set_con_lobnds().\n");
  refused(-1, 0, [&] { return MX_add_cons(kc, -2, nullptr); }, MX_RC_BAD_SIZE,
          "ERROR: MX_add_cons given a bad problem size.\n");
  refused(2, 1, [&] { return MX_set_con_upbnds(kc, 1, idx, nullptr); }, MX_RC_NULL_POINTER,
          "ERROR: Parameter cUpBnds passed to MX_set_con_upbnds() is NULL.\n");
  refused(2, 1, [&] { return MX_set_var_types(kc, -1, idx, idx); }, MX_RC_BAD_SIZE,
          "ERROR: The number of variables passed to MX_set_var_types() must be non-negative.\n");
  refused(2, 2, [&] { return MX_set_con_lobnd(kc, 2, 0.0); }, MX_RC_BAD_CON_INDEX,
          "ERROR: Constraint index 2 outside of range.\n       The index should be less than 2 and non-negative.\n");
  // Bounds take the largest double but not IEEE infinity.
  refused(1, 1, [&] {
    EXPECT_EQ(MX_set_var_upbnd(kc, 0, MX_INFINITY), 0);
    return MX_set_con_eqbnd(kc, 0, kInf);
  }, MX_RC_BAD_CON_BOUND, "ERROR: The equality bound specified for constraint index 0 is undefined.\n");
  refused(2, 0, [&] { return MX_set_var_type(kc, 1, 3); }, MX_RC_BAD_VARIABLE,
          "ERROR: Bad value 3 for variable type (x[1]).\n");
  refused(2, 1, [&] { return MX_set_var_scalings(kc, 1, idx, nullptr, nullptr); }, MX_RC_NULL_POINTER,
          "ERROR: Both parameters xScaleFactors and xScaleCenters passed to MX_set_var_scalings() are NULL.\n");
  refused(1, 2, [&] { return MX_add_con_constant(kc, 0, kNaN); }, MX_RC_BAD_CONSTRAINT,
          "ERROR: constants[0] corresponding to constraint 0 is undefined.\n");
  refused(1, 0, [&] { return MX_set_obj_goal(kc, 2); }, MX_RC_BAD_OBJECTIVE, "ERROR: Bad value for objective goal.\n");
  refused(2, 0, [&] { return MX_set_compcon_feastol(kc, 0, 1e-6); }, MX_RC_BAD_SIZE,
          "ERROR: There are currently no complementarity constraints in the model.\n"
          "       First call MX_set_compcons() before calling MX_set_compcon_feastols().\n");
  // Changes are for after a first solve, properties and structures for
  // before it; data calls are open in both phases.
  refused(1, 1, [&] {
    EXPECT_EQ(MX_set_var_lobnd(kc, 0, 1.0), 0);
    return MX_chg_obj_constant(kc, 1.0);
  }, MX_RC_ILLEGAL_CALL, "ERROR: MX_chg_obj_constant() can only be called to modify the existing problem\n"
                         "       after an initial solve has been performed.\n");
  EXPECT_EQ(kc->fatalError, 1);
  refused(2, 2, [&] { return MX_del_con_linear_term(kc, 0, 0); }, MX_RC_ILLEGAL_CALL,
          "ERROR: MX_del_con_linear_term() can only be called to modify the existing problem\n"
          "       after an initial solve has been performed.\n");
  refused(2, 2, [&] {
    solved();
    EXPECT_EQ(MX_set_var_lobnd(kc, 0, 1.0), 0);
    return MX_set_obj_property(kc, 1);
  }, MX_RC_ILLEGAL_CALL, "ERROR: MX_set_obj_property() cannot be called to modify the existing problem\n       after a solve.\n");
  refused(2, 2, [&] { solved(); return MX_add_obj_quadratic_term(kc, 0, 1, 1.0); }, MX_RC_ILLEGAL_CALL,
          "ERROR: MX_add_obj_quadratic_term() cannot be called to modify the existing problem\n       after a solve.\n");
  // Structures.
  refused(2, 0, [&] { return MX_add_obj_linear_struct(kc, 1, idx, nan); }, MX_RC_BAD_OBJECTIVE,
          "ERROR: Objective coefficient 0 corresponding to variable 0.\n       is undefined.\n");
  refused(2, 2, [&] {
    EXPECT_EQ(MX_add_con_linear_struct(kc, 0, nullptr, nullptr, nullptr), 0);
    return MX_add_con_linear_struct(kc, 1, idx, nullptr, nullptr);
  }, MX_RC_NULL_POINTER, "ERROR: Parameter indexVars passed to MX_add_con_linear_struct() is NULL.\n");
  refused(2, 2, [&] { return MX_add_con_quadratic_struct_one(kc, -1, 0, idx, idx, nullptr); }, MX_RC_BAD_SIZE,
          "ERROR: The number of nonzero elements passed to MX_add_con_quadratic_struct_one() must be non-negative.\n");
  refused(2, 3, [&] { return MX_add_eval_callback(kc, 0, 4, twice, noop, &cb); }, MX_RC_BAD_SIZE,
          "ERROR: The number of elements nC passed to MX_add_eval_callback() cannot be greater than 3.\n");
  refused(2, 3, [&] { return MX_add_eval_callback(kc, 1, 1, twice, nullptr, &cb); }, MX_RC_NULL_POINTER,
          "ERROR: Function callback pointer funcCallback passed to MX_add_eval_callback() is NULL.\n");
}

// Getters report errors and bad values of optional data are repaired with
// a message; neither poisons the context.
TEST_F(Model, GetterErrorsAndValueRepairsDoNotPoison) {
  build(2, 2);
  double v[3];
  const int idx[3] = {0, 1, 5};
  EXPECT_EQ(MX_get_var_lobnds(kc, 3, idx, v), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(), "ERROR: The number of variables passed to MX_get_var_lobnds() must not exceed 2.\n");
  EXPECT_EQ(MX_get_var_lobnds(kc, 2, idx + 1, v), MX_RC_BAD_VAR_INDEX);
  EXPECT_EQ(MX_get_con_lobnds(kc, 1, idx, nullptr), MX_RC_NULL_POINTER);
  out->take();
  // Names: unset ones leave the buffers alone, long ones are refused.
  char a[8] = "keep", b[8] = "keep";
  char *bufs[2] = {a, b};
  EXPECT_EQ(MX_get_var_names_all(kc, 8, bufs), 0);
  EXPECT_STREQ(a, "keep");
  char *names[2] = {const_cast<char *>("x"), const_cast<char *>("longname")};
  ASSERT_EQ(MX_set_var_names_all(kc, names), 0);
  EXPECT_EQ(MX_get_var_names_all(kc, 8, bufs), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(), "ERROR: Length of variable name longname is greater than buffer size 8\n");
  EXPECT_STREQ(a, "x");
  EXPECT_EQ(MX_get_con_names(kc, -1, nullptr, 8, bufs), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(), "ERROR: The number of contraints passed to MX_get_con_names() must be non-negative.\n");
  const int two[2] = {0, 1};
  const int badProps[2] = {1, 2};
  ASSERT_EQ(MX_set_var_properties(kc, 2, two, badProps), 0);
  EXPECT_EQ(kc->var.property.v[1], 0);
  EXPECT_EQ(kc->var.property.v[0], 1);
  ASSERT_EQ(MX_set_con_honorbnd(kc, 1, 2), 0);
  EXPECT_EQ(kc->con.honorBnds.v[1], 0);
  const double xInit[2] = {kNaN, 4.0};
  ASSERT_EQ(MX_set_var_primal_init_values(kc, 2, two, xInit), 0);
  EXPECT_EQ(kc->var.hasInitial[0], 0);
  EXPECT_EQ(kc->var.x[1], 4.0);
  EXPECT_EQ(kc->noInitialX, 0);
  ASSERT_EQ(MX_set_obj_property(kc, 2), 0);
  EXPECT_EQ(kc->obj.property, -1);
  ASSERT_EQ(MX_set_obj_scaling(kc, -2.0), 0);
  EXPECT_FALSE(kc->obj.scaleGiven);
  EXPECT_EQ(out->take(),
            "ERROR: A bad varProperties value was specified for variable 1.\n"
            "       This variable will use default properties.\n"
            "ERROR: A bad honorbnds value was specified for honorBnds[0] corresponding to constraint 1.\n"
            "       This constraint will be marked as MX_HONORBNDS_NO.\n"
            "WARNING: Initial primal value x[0] is undefined.\n"
            "         Skip initializing this variable.\n"
            "WARNING: objScaleFactor is non-positive.  The default scaling will be used.\n");
  EXPECT_EQ(kc->fatalError, 0);
  // A bad variable scaling falls back to 1, a bad constraint one keeps the
  // old factor; centers alone leave the factors unset.
  const double centers[2] = {5.0, 6.0};
  ASSERT_EQ(MX_set_var_scalings(kc, 2, two, nullptr, centers), 0);
  EXPECT_FALSE(kc->var.scaleFactor.exists());
  EXPECT_EQ(kc->var.scaleCenter[1], 6.0);
  ASSERT_EQ(MX_set_var_scaling(kc, 0, 2.0, 0.0), 0);
  ASSERT_EQ(MX_set_var_scaling(kc, 0, -1.0, 0.0), 0);
  EXPECT_EQ(kc->var.scaleFactor.v[0], 1.0);
  ASSERT_EQ(MX_set_con_scaling(kc, 0, 3.0), 0);
  ASSERT_EQ(MX_set_con_scaling(kc, 0, 0.0), 0);
  EXPECT_EQ(kc->con.scaleFactor.v[0], 3.0);
}

TEST_F(Model, GrowingTheModelKeepsMultipliersAndNumbersTheNewItems) {
  build(2, 1);
  ASSERT_EQ(MX_set_var_dual_init_value(kc, 1, 7.0), 0);
  ASSERT_EQ(MX_set_con_dual_init_value(kc, 0, 3.0), 0);
  ASSERT_EQ(MX_add_cons(kc, 2, nullptr), 0);
  int next[3], one = -1;
  ASSERT_EQ(MX_add_vars(kc, 3, next), 0);
  ASSERT_EQ(MX_add_var(kc, &one), 0);
  // Multipliers: constraints first, then variables.
  ASSERT_EQ(kc->lambda.size(), 9u);
  EXPECT_EQ(kc->lambda[0], 3.0);
  EXPECT_EQ(kc->lambda[3 + 1], 7.0);
  EXPECT_EQ(kc->lambda[3 + 2], 0.0);
  EXPECT_EQ(next[0], 2);
  EXPECT_EQ(next[2], 4);
  EXPECT_EQ(one, 5);
}

TEST_F(Model, ConstantsWaitForTheNextSolveAfterAFirstOne) {
  build(1, 2);
  ASSERT_EQ(MX_add_con_constant(kc, 0, 1.5), 0);
  ASSERT_EQ(MX_add_obj_constant(kc, 2.0), 0);
  EXPECT_EQ(kc->con.constant[0], 1.5);
  kc->changeLevel = -1;
  ASSERT_EQ(MX_add_con_constant(kc, 1, 4.0), 0);
  ASSERT_EQ(MX_chg_con_constant(kc, 0, 9.0), 0);
  ASSERT_EQ(MX_chg_obj_constant(kc, 5.0), 0);
  EXPECT_EQ(kc->con.constant[0], 1.5);
  EXPECT_EQ(kc->con.constant[1], 0.0);
  mxLoadConstants(kc);
  EXPECT_EQ(kc->con.constant[0], 9.0);
  EXPECT_EQ(kc->con.constant[1], 4.0);
  EXPECT_EQ(kc->model->constants.objConstant, 5.0);
  ASSERT_EQ(MX_del_con_constant(kc, 1), 0);
  ASSERT_EQ(MX_del_obj_constant(kc), 0);
  mxLoadConstants(kc);
  EXPECT_EQ(kc->con.constant[1], 0.0);
  EXPECT_EQ(kc->model->constants.objConstant, 0.0);
}

TEST_F(Model, ComplementarityIsAllOrNothingAndOnce) {
  build(4, 0);
  const int types[2] = {0, 0}, a[2] = {0, 1}, b[2] = {2, 1};
  EXPECT_EQ(MX_set_compcons(kc, 0, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(MX_set_compcons(kc, 2, types, a, b), MX_RC_BAD_CON_INDEX);
  EXPECT_EQ(out->take(),
            "ERROR: Morvex only allows a variable to appear once in a complementarity constraint.\n"
            "Variable 1 appears more than once.  Please reformulate.\n");
  int p = -1;
  ASSERT_EQ(MX_get_number_compcons(kc, &p), 0);
  EXPECT_EQ(p, 0);
  EXPECT_EQ(kc->comp.partner[0], -1);
  const int b2[2] = {2, 3};
  ASSERT_EQ(MX_set_compcons(kc, 2, types, a, b2), 0);
  EXPECT_EQ(kc->comp.partner[3], 1);
  EXPECT_EQ(MX_set_compcons(kc, 2, types, a, b2), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(), "ERROR: Can only call MX_set_compcons once to set all complementarities.\n");
  const int three[3] = {0, 1, 0};
  const double tols[3] = {1e-6, 1e-6, 1e-6};
  EXPECT_EQ(MX_set_compcon_feastols(kc, 3, three, tols), MX_RC_BAD_SIZE);
}

TEST_F(Model, BoundsPrioritiesAndStrategiesFollowVariableTypes) {
  build(3, 0);
  ASSERT_EQ(MX_set_var_lobnd(kc, 2, -5.0), 0);
  const int types[3] = {MX_VARTYPE_CONTINUOUS, MX_VARTYPE_INTEGER, MX_VARTYPE_BINARY};
  ASSERT_EQ(MX_set_var_types_all(kc, types), 0);
  // A binary type resets the bounds, which may be set again afterwards.
  EXPECT_EQ(kc->var.lo[2], 0.0);
  EXPECT_EQ(kc->var.up[2], 1.0);
  ASSERT_EQ(MX_set_var_upbnd(kc, 2, 7.0), 0);
  EXPECT_EQ(kc->var.up[2], 7.0);
  const int prio[3] = {5, 0, 3};
  ASSERT_EQ(MX_set_mip_branching_priorities_all(kc, prio), 0);
  EXPECT_EQ(kc->var.priority[0], 0);
  EXPECT_EQ(kc->var.priority[2], 3);
  EXPECT_EQ(kc->var.numPriorities, 1);
  ASSERT_EQ(MX_set_mip_intvar_strategy(kc, 0, 1), 0);
  EXPECT_EQ(out->take(),
            "WARNING: Variable index 0 passed to MX_set_mip_intvar_strategies() does not\n"
            "         correspond to an integer variable, ignoring.\n");
  ASSERT_EQ(MX_set_mip_intvar_strategy(kc, 2, 2), 0);
  EXPECT_EQ(kc->var.numMpecStrategies, 1);
}

// Handles: a freed handle is cleared and refused quietly afterwards; a
// context of the older family has no model layer.
TEST(Handles, NewAndFreeCheckTheirHandles) {
  MX_context_ptr kc = nullptr;
  ASSERT_EQ(MX_new(&kc), 0);
  EXPECT_EQ(MX_free(&kc), 0);
  EXPECT_EQ(kc, nullptr);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(MX_free(&kc), MX_RC_BAD_KCPTR);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  testing::internal::CaptureStdout();
  EXPECT_EQ(MX_free(nullptr), MX_RC_BAD_KCPTR);
  EXPECT_EQ(MXL_free(nullptr), MX_RC_BAD_KCPTR);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "WARNING: MX_free() was passed a NULL handle (pointer to pointer).\n"
            "WARNING: MX_free()/MXL_free() was passed a NULL handle (pointer to pointer).\n");
  MXL_context_ptr ctx = MXL_new();
  ASSERT_NE(ctx, nullptr);
  PrintCapture cap(ctx);
  EXPECT_EQ(MX_add_vars(ctx, 1, nullptr), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(cap.take(), "ERROR: MX_new*() must be called before calling MX_add_vars().\n");
  EXPECT_EQ(MXL_free(&ctx), 0);
  // The release text is cut to the length given and terminated.
  char buf[32];
  std::memset(buf, 'x', sizeof buf);
  ASSERT_EQ(MX_get_release(10, buf), 0);
  EXPECT_EQ(std::string(buf), "Morvex 0.1");
  EXPECT_EQ(buf[11], 'x');
  EXPECT_EQ(MX_get_release(0, buf), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(buf[0], '\0');
}

// A child context made for a subproblem: the root shared, its print routed
// to the given sink, and a relaxation drops integer types while the parent
// keeps them.
TEST_F(Model, SubproblemChildCopiesTheModelAndRelaxesIntegers) {
  build(2, 1);
  ASSERT_EQ(MX_set_var_type(kc, 1, MX_VARTYPE_INTEGER), 0);
  ASSERT_EQ(MX_set_var_upbnd(kc, 0, 4.0), 0);
  ASSERT_EQ(MX_set_con_eqbnd(kc, 0, 1.0), 0);
  std::string childOut;
  MX_puts *sink = [](const char *s, void *user) {
    *static_cast<std::string *>(user) += s;
    return 0;
  };
  MXL_context *child = mx_new_puts_subproblem(kc, sink, &childOut, nullptr, 1);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->rootContext, kc);
  ASSERT_EQ(mx_copy_problem(kc, child, 0, 0), 0);
  EXPECT_EQ(child->var.up[0], 4.0);
  EXPECT_EQ(child->con.lo[0], 1.0);
  EXPECT_EQ(child->var.type[1], MX_VARTYPE_CONTINUOUS);
  EXPECT_EQ(kc->var.type[1], MX_VARTYPE_INTEGER);
  EXPECT_EQ(child->changeLevel, 0);
  // The child is independent: changing it leaves the parent as it was.
  ASSERT_EQ(MX_set_var_upbnd(child, 0, 1.0), 0);
  EXPECT_EQ(kc->var.up[0], 4.0);
  EXPECT_EQ(MX_set_var_lobnd(child, 7, 0.0), MX_RC_BAD_VAR_INDEX);
  EXPECT_NE(childOut.find("ERROR: Variable index 7 outside of range."), std::string::npos);
  EXPECT_EQ(kc->fatalError, 0);
  MXL_context *solved = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 6);
  ASSERT_EQ(mx_copy_problem(kc, solved, 1, 1), 0);
  EXPECT_EQ(solved->changeLevel, -1);
  EXPECT_EQ(solved->var.type[1], MX_VARTYPE_INTEGER);
  EXPECT_EQ(MX_free(&solved), 0);
  EXPECT_EQ(MX_free(&child), 0);
}

using Structures = EvalModel;

TEST_F(Structures, LinearEntriesAreCheckedWholeBeforeAnythingIsStored) {
  struct Case {
    int con, var;
    double coef;
    int code;
    const char *text;
  } cases[] = {
      {0, 2, 1.0, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index 2 outside of range.\n"},
      {-1, 0, 1.0, MX_RC_BAD_CON_INDEX, "ERROR: Constraint index -1 outside of range.\n"},
      {1, 1, kNaN, MX_RC_BAD_CONSTRAINT,
       "ERROR: Coefficient 1 corresponding to constraint 1 and variable 1.\n       is undefined.\n"},
  };
  for (const Case &k : cases) {
    fresh(2, 2);
    const int cons[2] = {0, k.con}, vars[2] = {1, k.var};
    const double coefs[2] = {3.0, k.coef};
    EXPECT_EQ(MX_add_con_linear_struct(kc, 2, cons, vars, coefs), k.code);
    EXPECT_EQ(out->take(), k.text);
    EXPECT_EQ(kc->fatalError, 1);
    EXPECT_TRUE(!kc->model->linear || kc->model->linear->jac.vars.empty()) << "nothing stored";
    EXPECT_EQ(kc->con.type[0], MX_CONTYPE_NONE);
  }
}

TEST_F(Structures, TypesFollowTheStructureAdded) {
  build(3, 4);
  // Without a matrix the norm is a constant.
  const double b[2] = {3, 4};
  ASSERT_EQ(MX_add_con_L2norm(kc, 3, 2, 0, nullptr, nullptr, nullptr, b), 0);
  EXPECT_EQ(out->take(), "WARNING: The matrix passed to MX_add_con_L2norm() is empty.  Adding constant structure.\n");
  EXPECT_EQ(kc->con.constant[3], 5.0);
  EXPECT_TRUE(kc->model->conics.empty());
  EXPECT_EQ(kc->con.type[3], MX_CONTYPE_NONE);
  ASSERT_EQ(MX_add_con_linear_term(kc, 0, 1, 0.0), 0);  // zero: checked, skipped
  EXPECT_EQ(kc->con.type[0], MX_CONTYPE_NONE);
  ASSERT_EQ(MX_add_con_linear_term(kc, 1, 1, 2.0), 0);
  ASSERT_EQ(MX_add_con_quadratic_term(kc, 1, 2, 0, 1.0), 0);
  EXPECT_EQ(kc->con.type[1], MX_CONTYPE_QUADRATIC);
  MX_cb_context_ptr cb = nullptr;
  ASSERT_EQ(MX_add_eval_callback_one(kc, 2, noop, &cb), 0);
  ASSERT_EQ(MX_add_con_quadratic_term(kc, 2, 1, 1, 1.0), 0);
  EXPECT_EQ(kc->con.type[2], MX_CONTYPE_GENERAL);
  ASSERT_EQ(MX_add_obj_linear_term(kc, 0, 1.0), 0);
  EXPECT_EQ(kc->obj.type, MX_OBJTYPE_LINEAR);
  ASSERT_EQ(MX_add_obj_quadratic_term(kc, 2, 1, 1.0), 0);
  EXPECT_EQ(kc->obj.type, MX_OBJTYPE_QUADRATIC);
  EXPECT_EQ(MX_add_con_L2norm(kc, 1, 1, 0, nullptr, nullptr, nullptr, nullptr), MX_RC_BAD_CONSTRAINT);
  EXPECT_EQ(out->take(),
            "ERROR: Currently L2 norm structure may only be added to constraints\n"
            "       with linear or constant structure.\n");
  fresh(2, 2);
  const int coords[1] = {2}, vars[1] = {0};
  const double one[1] = {1};
  EXPECT_EQ(MX_add_con_L2norm(kc, 0, 2, 1, coords, vars, one, b), MX_RC_BAD_CON_INDEX);
  EXPECT_EQ(out->take(), "ERROR: L2 norm matrix row/coordinate index 2 in indexCoords[0] outside of range.\n");
  EXPECT_TRUE(kc->model->conics.empty());
}

// A repeated constraint in the list is refused before any callback exists;
// a sparse pattern may only use the callback's own constraints, once; and
// the callback's settings are validated.
TEST_F(Structures, CallbackListsPatternsAndSettingsAreChecked) {
  build(3, 3);
  MX_cb_context_ptr cb = reinterpret_cast<MX_cb_context_ptr>(&cb);
  const int twice[3] = {0, 2, 0};
  EXPECT_EQ(MX_add_eval_callback(kc, 0, 3, twice, noop, &cb), MX_RC_BAD_CON_INDEX);
  EXPECT_EQ(out->take(),
            "ERROR: Constraint index 0 is specified more than once\n"
            "       in the array indexCons passed to MX_add_eval_callback().\n");
  EXPECT_EQ(cb, nullptr);
  EXPECT_TRUE(kc->model->callbacks.empty());
  fresh(3, 3);
  const int cons[2] = {0, 2};
  ASSERT_EQ(MX_add_eval_callback(kc, 0, 2, cons, noop, &cb), 0);
  const int jr[2] = {2, 1}, jv[2] = {0, 0};
  EXPECT_EQ(MX_set_cb_grad(kc, cb, 2, jv, 2, jr, jv, noop), MX_RC_BAD_CON_INDEX);
  EXPECT_EQ(out->take(),
            "WARNING: The objective function is not part of the callback in MX_set_cb_grad() (evalObj is FALSE),\n"
            "         however nV is positive.  The objective gradient sparsity pattern will be ignored.\n"
            "ERROR: Constraint index 1 for sparse Jacobian element 1 was not set\n"
            "       as part of the callback through parameter indexCons passed to MX_add_eval_callback().\n");
  fresh(3, 3);
  ASSERT_EQ(MX_add_eval_callback(kc, 1, 2, cons, noop, &cb), 0);
  ASSERT_EQ(MX_set_cb_grad(kc, cb, -1, nullptr, MX_DENSE_COLMAJOR, nullptr, nullptr, noop), 0);
  EXPECT_EQ(MX_set_cb_grad(kc, cb, -1, nullptr, MX_DENSE_COLMAJOR, nullptr, nullptr, noop), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(),
            "ERROR: MX_set_cb_grad() has already been called for this callback structure,\n"
            "       and should only be called once.\n");
  // Step sizes are checked whole before any is stored.
  fresh(2, 1);
  ASSERT_EQ(MX_add_eval_callback_all(kc, noop, &cb), 0);
  const double steps[2] = {1e-6, kNaN};
  ASSERT_EQ(MX_set_cb_relstepsize(kc, cb, 1, 1e-4), 0);
  EXPECT_EQ(MX_set_cb_relstepsizes_all(kc, cb, steps), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(out->take(), "ERROR: Parameter xRelStepSizes[1] corresponding to variable 1.\n       is undefined.\n");
  EXPECT_EQ(cb->xRelStepSizes[0], 0.0) << "nothing stored";
  EXPECT_EQ(cb->xRelStepSizes[1], 1e-4);
  fresh(2, 1);
  ASSERT_EQ(MX_add_eval_callback_all(kc, noop, &cb), 0);
  EXPECT_EQ(MX_set_cb_gradopt(kc, cb, 6), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(out->take(), "ERROR: Value gradopt=6 passed to MX_set_cb_gradopt() is invalid.\n");
  EXPECT_EQ(MX_set_cb_hess(kc, nullptr, 0, nullptr, nullptr, noop), MX_RC_ILLEGAL_CALL);
}

TEST_F(Structures, DensePatternsFollowVariablesAddedLater) {
  build(2, 2);
  MX_cb_context_ptr cb = nullptr;
  const int cons[1] = {1};
  ASSERT_EQ(MX_add_eval_callback(kc, 1, 1, cons, noop, &cb), 0);
  ASSERT_EQ(MX_set_cb_grad(kc, cb, -1, nullptr, MX_DENSE_COLMAJOR, nullptr, nullptr, noop), 0);
  ASSERT_EQ(MX_set_cb_hess(kc, cb, MX_DENSE_ROWMAJOR, nullptr, nullptr, noop), 0);
  ASSERT_EQ(MX_add_vars(kc, 2, nullptr), 0);
  MX_nnz nnz[3] = {0, 0, 0};
  ASSERT_EQ(MX_get_cb_jacobian_nnz(kc, cb, &nnz[0]), 0);
  ASSERT_EQ(MX_get_cb_hessian_nnz(kc, cb, &nnz[1]), 0);
  ASSERT_EQ(MX_get_cb_objgrad_nnz(kc, cb, &nnz[2]), 0);
  ASSERT_EQ(prepare(), 0);
  const MX_nnz merged[3] = {kc->pat.jac.nnz, kc->pat.hess.nnz, kc->pat.objGrad.nnz()};
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(nnz[k], k == 1 ? 10 : 4) << k;
    EXPECT_EQ(merged[k], nnz[k]) << k;
  }
  // Column-major order: the user's k-th value lands on variable k.
  for (int k = 0; k < 4; ++k) EXPECT_EQ(kc->pat.jac.indexVars[cb->jacPlace[k]], k);
}

TEST_F(Structures, MergeRefusesRepeatsWithinOneCallbackAndTheLowerTriangle) {
  build(3, 1);
  MX_cb_context_ptr cb = nullptr, other = nullptr;
  const int cons[1] = {0}, jr[2] = {0, 0}, jv[2] = {1, 1}, one[1] = {1};
  ASSERT_EQ(MX_add_eval_callback(kc, 0, 1, cons, noop, &other), 0);
  ASSERT_EQ(MX_set_cb_grad(kc, other, 0, nullptr, 1, jr, one, noop), 0);
  ASSERT_EQ(MX_add_con_linear_term(kc, 0, 1, 2.0), 0);
  ASSERT_EQ(prepare(), 0);  // the same coordinate from different sources merges
  EXPECT_EQ(kc->pat.jac.nnz, 1);
  EXPECT_EQ(kc->pat.jac.source[0], MX_SRC_CALLBACK);
  ASSERT_EQ(MX_add_eval_callback(kc, 0, 1, cons, noop, &cb), 0);
  ASSERT_EQ(MX_set_cb_grad(kc, cb, 0, nullptr, 2, jr, jv, noop), 0);
  EXPECT_EQ(prepare(), MX_RC_BAD_JACOBIAN);
  EXPECT_EQ(out->take(), "ERROR: Jacobian index [0, 1] defined multiple times.\n");
  EXPECT_EQ(kc->returnCode, MX_RC_BAD_JACOBIAN);
  EXPECT_EQ(kc->pat.jac.nnz, 1) << "a failed merge leaves the old pattern";
  kc->subproblemKind = 1;  // node subproblems skip the check
  EXPECT_EQ(prepare(), 0);
  kc->subproblemKind = 0;
  const int h1[2] = {0, 2}, h2[2] = {1, 0};
  ASSERT_EQ(MX_set_cb_hess(kc, cb, 2, h1, h2, noop), 0);
  EXPECT_EQ(prepare(), MX_RC_BAD_HESS_INDEX);
  EXPECT_EQ(out->take(),
            "ERROR: Illegal value for Hessian index.\n"
            "       hessIndexCols,Rows[1] = (2,0) is in the lower triangle.\n");
  const int d1[2] = {1, 1}, d2[2] = {2, 2};
  ASSERT_EQ(MX_set_cb_hess(kc, other, 2, d1, d2, noop), 0);
  cb->hessSet = 0;
  EXPECT_EQ(prepare(), MX_RC_BAD_HESSIAN);
  EXPECT_EQ(out->take(), "ERROR: Hessian index [1, 2] defined multiple times.\n");
}

TEST_F(Structures, ConstantConstraintsAreCheckedAgainstTheirBounds) {
  build(1, 3);
  ASSERT_EQ(MX_add_con_constant(kc, 1, 2.0), 0);
  ASSERT_EQ(MX_set_con_upbnd(kc, 1, 2.0 - 1e-7), 0);  // inside the tolerance
  ASSERT_EQ(MX_add_con_linear_term(kc, 2, 0, 1.0), 0);
  ASSERT_EQ(prepare(), 0);
  EXPECT_EQ(out->take(), "WARNING: 2 constraints are constant or undefined and will be ignored.\n");
  EXPECT_EQ(kc->con.type[0], MX_CONTYPE_LINEAR);
  fresh(1, 2);
  char *names[2] = {const_cast<char *>("budget"), const_cast<char *>("cap")};
  const int idx[2] = {0, 1};
  ASSERT_EQ(MX_set_con_names(kc, 2, idx, names), 0);
  ASSERT_EQ(MX_set_con_upbnd(kc, 1, -1.0), 0);
  EXPECT_EQ(prepare(), MX_RC_INFEAS_CON_BOUNDS);
  EXPECT_EQ(out->take(),
            "ERROR: Constraint cap is constant and\n"
            "       violates the constraint upper bound =    -1.00000000000000e+00\n");
  EXPECT_EQ(kc->con.type[0], MX_CONTYPE_NONE) << "nothing retyped after a violation";
}

}  // namespace
