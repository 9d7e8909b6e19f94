// Model data through the public calls: the call frame, poisoning, the three
// forms of a family, and the per-family rules on values.
#include <cmath>
#include <limits>
#include <string>

#include "eval_fixture.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

using Model = EvalModel;

TEST_F(Model, FatalErrorPoisonsEveryCheckedCallButFree) {
  build(3, 2);
  const int idx[3] = {0, 1, 2};
  const double lo[3] = {1.0, 2.0, kNaN};
  EXPECT_EQ(MX_set_var_lobnds(kc, 3, idx, lo), MX_RC_BAD_VAR_BOUND);
  EXPECT_EQ(out->take(), "ERROR: The lower bound specified for variable index 2 is undefined.\n");
  // Entries before the bad one stay stored.
  EXPECT_EQ(kc->var.lo[0], 1.0);
  EXPECT_EQ(kc->var.lo[1], 2.0);
  EXPECT_EQ(kc->var.lo[2], -MX_INFINITY);
  EXPECT_EQ(kc->returnCode, MX_RC_BAD_VAR_BOUND);
  EXPECT_EQ(kc->status, 5);
  double v = 0.0;
  int count = 0;
  EXPECT_EQ(MX_set_var_upbnd(kc, 0, 1.0), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_add_vars(kc, 1, nullptr), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_var_lobnd(kc, 0, &v), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_number_vars(kc, &count), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_set_obj_goal(kc, 1), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(), "");
}

TEST_F(Model, BadHandlesAreRefusedWithoutTouchingTheContext) {
  build(1, 0);
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
  EXPECT_EQ(MX_set_var_lobnd(kc, 0, 1.0), 0);
}

// A family must be added before its data is set, though an empty add
// opens it; zero counts need no arrays.
TEST_F(Model, CallOrderIsCheckedAndFatal) {
  EXPECT_EQ(MX_set_var_lobnd(kc, 0, 1.0), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(), "ERROR: MX_add_var*() must be called before MX_set_var_lobnds().\n");
  EXPECT_EQ(kc->fatalError, 1);
  fresh();
  ASSERT_EQ(MX_add_vars(kc, 0, nullptr), 0);
  EXPECT_EQ(MX_set_var_lobnds(kc, 0, nullptr, nullptr), 0);
  EXPECT_EQ(MX_set_var_lobnds_all(kc, nullptr), 0);
  EXPECT_EQ(MX_set_con_lobnds(kc, 0, nullptr, nullptr), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(), "ERROR: MX_add_con*() must be called before MX_set_con_lobnds().\n");
}

TEST_F(Model, CountAndPointerErrorsNameTheArgument) {
  build(2, 1);
  const int idx[1] = {0};
  EXPECT_EQ(MX_set_con_upbnds(kc, 1, idx, nullptr), MX_RC_NULL_POINTER);
  EXPECT_EQ(out->take(), "ERROR: Parameter cUpBnds passed to MX_set_con_upbnds() is NULL.\n");
  fresh(2, 1);
  EXPECT_EQ(MX_set_var_types(kc, -1, idx, idx), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(), "ERROR: The number of variables passed to MX_set_var_types() must be non-negative.\n");
  EXPECT_EQ(MX_set_var_types(kc, 0, nullptr, nullptr), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(), "");
  // An index out of range gives the code of its kind.
  fresh(2, 2);
  EXPECT_EQ(MX_set_con_lobnd(kc, 2, 0.0), MX_RC_BAD_CON_INDEX);
  EXPECT_EQ(out->take(),
            "ERROR: Constraint index 2 outside of range.\n"
            "       The index should be less than 2 and non-negative.\n");
}

TEST_F(Model, GettersReportErrorsWithoutPoisoning) {
  build(2, 1);
  double v[3];
  const int idx[3] = {0, 1, 5};
  EXPECT_EQ(MX_get_var_lobnds(kc, 3, idx, v), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(), "ERROR: The number of variables passed to MX_get_var_lobnds() must not exceed 2.\n");
  EXPECT_EQ(MX_get_var_lobnds(kc, 2, idx + 1, v), MX_RC_BAD_VAR_INDEX);
  EXPECT_EQ(MX_get_con_lobnds(kc, 1, idx, nullptr), MX_RC_NULL_POINTER);
  EXPECT_EQ(kc->fatalError, 0);
  EXPECT_EQ(kc->status, 0);
  EXPECT_EQ(MX_set_var_fxbnd(kc, 1, 3.0), 0);
  ASSERT_EQ(MX_get_var_upbnds_all(kc, v), 0);
  EXPECT_EQ(v[1], 3.0);
  EXPECT_EQ(v[0], MX_INFINITY);
}

TEST_F(Model, BoundsAcceptTheLargestDoubleButNotIeeeInfinity) {
  build(1, 1);
  EXPECT_EQ(MX_set_var_upbnd(kc, 0, MX_INFINITY), 0);
  EXPECT_EQ(MX_set_con_eqbnd(kc, 0, kInf), MX_RC_BAD_CON_BOUND);
  EXPECT_EQ(out->take(), "ERROR: The equality bound specified for constraint index 0 is undefined.\n");
}

TEST_F(Model, BinaryTypeResetsBoundsAndBadTypeIsFatal) {
  build(2, 0);
  ASSERT_EQ(MX_set_var_lobnd(kc, 0, -5.0), 0);
  ASSERT_EQ(MX_set_var_type(kc, 0, MX_VARTYPE_BINARY), 0);
  EXPECT_EQ(kc->var.lo[0], 0.0);
  EXPECT_EQ(kc->var.up[0], 1.0);
  ASSERT_EQ(MX_set_var_upbnd(kc, 0, 7.0), 0);
  EXPECT_EQ(kc->var.up[0], 7.0);
  EXPECT_EQ(MX_set_var_type(kc, 1, 3), MX_RC_BAD_VARIABLE);
  EXPECT_EQ(out->take(), "ERROR: Bad value 3 for variable type (x[1]).\n");
}

TEST_F(Model, NonFatalValueRepairsWarnAndGoOn) {
  build(2, 2);
  const int two[2] = {0, 1};
  const int badProps[2] = {1, 2};
  ASSERT_EQ(MX_set_var_properties(kc, 2, two, badProps), 0);
  EXPECT_EQ(kc->var.property.v[1], 0);
  EXPECT_EQ(kc->var.property.v[0], 1);
  ASSERT_EQ(MX_set_var_honorbnd(kc, 0, 2), 0);
  EXPECT_EQ(kc->var.honorBnds.v[0], 2);
  ASSERT_EQ(MX_set_con_honorbnd(kc, 1, 2), 0);
  EXPECT_EQ(kc->con.honorBnds.v[1], 0);
  const double xInit[2] = {kNaN, 4.0};
  ASSERT_EQ(MX_set_var_primal_init_values(kc, 2, two, xInit), 0);
  EXPECT_EQ(kc->var.hasInitial[0], 0);
  EXPECT_EQ(kc->var.x[1], 4.0);
  EXPECT_EQ(kc->noInitialX, 0);
  EXPECT_EQ(out->take(),
            "ERROR: A bad varProperties value was specified for variable 1.\n"
            "       This variable will use default properties.\n"
            "ERROR: A bad honorbnds value was specified for honorBnds[0] corresponding to constraint 1.\n"
            "       This constraint will be marked as MX_HONORBNDS_NO.\n"
            "WARNING: Initial primal value x[0] is undefined.\n"
            "         Skip initializing this variable.\n");
  EXPECT_EQ(kc->fatalError, 0);
}

TEST_F(Model, ScalingsKeepOrResetAsTheirFamilyRequires) {
  build(2, 1);
  const int idx[2] = {0, 1};
  const double centers[2] = {5.0, 6.0};
  ASSERT_EQ(MX_set_var_scalings(kc, 2, idx, nullptr, centers), 0);
  EXPECT_FALSE(kc->var.scaleFactor.exists());
  EXPECT_EQ(kc->var.scaleCenter[1], 6.0);
  ASSERT_EQ(MX_set_var_scaling(kc, 0, 2.0, 0.0), 0);
  ASSERT_EQ(MX_set_var_scaling(kc, 0, -1.0, 0.0), 0);
  EXPECT_EQ(kc->var.scaleFactor.v[0], 1.0);
  ASSERT_EQ(MX_set_con_scaling(kc, 0, 3.0), 0);
  ASSERT_EQ(MX_set_con_scaling(kc, 0, 0.0), 0);
  EXPECT_EQ(kc->con.scaleFactor.v[0], 3.0);
  out->take();
  EXPECT_EQ(MX_set_var_scalings(kc, 2, idx, nullptr, nullptr), MX_RC_NULL_POINTER);
  EXPECT_EQ(out->take(),
            "ERROR: Both parameters xScaleFactors and xScaleCenters passed to MX_set_var_scalings() are NULL.\n");
}

TEST_F(Model, MultipliersKeepTheirPlaceWhenTheModelGrows) {
  build(2, 1);
  ASSERT_EQ(MX_set_var_dual_init_value(kc, 1, 7.0), 0);
  ASSERT_EQ(MX_set_con_dual_init_value(kc, 0, 3.0), 0);
  ASSERT_EQ(MX_add_cons(kc, 2, nullptr), 0);
  ASSERT_EQ(MX_add_vars(kc, 1, nullptr), 0);
  ASSERT_EQ(kc->lambda.size(), 6u);
  EXPECT_EQ(kc->lambda[0], 3.0);
  EXPECT_EQ(kc->lambda[3 + 1], 7.0);
  EXPECT_EQ(kc->lambda[3 + 2], 0.0);
  EXPECT_EQ(kc->var.lo.size(), 3u);
  EXPECT_EQ(kc->con.type[2], MX_CONTYPE_NONE);
}

TEST_F(Model, AddReturnsTheNewIndices) {
  int first[2], next[3], one = -1;
  ASSERT_EQ(MX_add_vars(kc, 2, first), 0);
  ASSERT_EQ(MX_add_vars(kc, 3, next), 0);
  ASSERT_EQ(MX_add_var(kc, &one), 0);
  EXPECT_EQ(first[1], 1);
  EXPECT_EQ(next[0], 2);
  EXPECT_EQ(next[2], 4);
  EXPECT_EQ(one, 5);
  EXPECT_EQ(MX_add_cons(kc, -2, nullptr), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(), "ERROR: MX_add_cons given a bad problem size.\n");
}

TEST_F(Model, NamesRoundTripAndRespectBufferSize) {
  build(2, 1);
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
}

// Changes are for after a first solve, properties for before it.
TEST_F(Model, RestartRulesSeparateTheTwoPhases) {
  build(1, 1);
  EXPECT_EQ(MX_set_var_lobnd(kc, 0, 1.0), 0);
  EXPECT_EQ(MX_chg_obj_constant(kc, 1.0), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(),
            "ERROR: MX_chg_obj_constant() can only be called to modify the existing problem\n"
            "       after an initial solve has been performed.\n");
  EXPECT_EQ(kc->fatalError, 1);
  fresh(1, 1);
  solved();
  EXPECT_EQ(MX_set_var_lobnd(kc, 0, 1.0), 0);
  EXPECT_EQ(MX_set_obj_property(kc, 1), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(),
            "ERROR: MX_set_obj_property() cannot be called to modify the existing problem\n"
            "       after a solve.\n");
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
  EXPECT_EQ(MX_add_con_constant(kc, 0, kNaN), MX_RC_BAD_CONSTRAINT);
  EXPECT_EQ(out->take(), "ERROR: constants[0] corresponding to constraint 0 is undefined.\n");
}

TEST_F(Model, ComplementarityIsAllOrNothingAndOnce) {
  build(2, 0);
  EXPECT_EQ(MX_set_compcon_feastol(kc, 0, 1e-6), MX_RC_BAD_SIZE);
  EXPECT_EQ(out->take(),
            "ERROR: There are currently no complementarity constraints in the model.\n"
            "       First call MX_set_compcons() before calling MX_set_compcon_feastols().\n");
  fresh(4, 0);
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
  EXPECT_EQ(MX_set_compcon_scaling(kc, 1, 2.0), 0);
  const int three[3] = {0, 1, 0};
  const double tols[3] = {1e-6, 1e-6, 1e-6};
  EXPECT_EQ(MX_set_compcon_feastols(kc, 3, three, tols), MX_RC_BAD_SIZE);
}

TEST_F(Model, MipPrioritiesAndStrategiesFollowVariableTypes) {
  build(3, 0);
  const int types[3] = {MX_VARTYPE_CONTINUOUS, MX_VARTYPE_INTEGER, MX_VARTYPE_BINARY};
  ASSERT_EQ(MX_set_var_types_all(kc, types), 0);
  const int prio[3] = {5, 0, 3};
  ASSERT_EQ(MX_set_mip_branching_priorities_all(kc, prio), 0);
  EXPECT_EQ(kc->var.priority[0], 0);
  EXPECT_EQ(kc->var.priority[1], 0);
  EXPECT_EQ(kc->var.priority[2], 3);
  EXPECT_EQ(kc->var.numPriorities, 1);
  ASSERT_EQ(MX_set_mip_branching_priority(kc, 1, 4), 0);
  EXPECT_EQ(kc->var.priority[1], 4);
  ASSERT_EQ(MX_set_mip_intvar_strategy(kc, 0, 1), 0);
  EXPECT_EQ(out->take(),
            "WARNING: Variable index 0 passed to MX_set_mip_intvar_strategies() does not\n"
            "         correspond to an integer variable, ignoring.\n");
  ASSERT_EQ(MX_set_mip_intvar_strategy(kc, 2, 2), 0);
  EXPECT_EQ(kc->var.numMpecStrategies, 1);
}

TEST_F(Model, ObjectiveCallsValidateTheirValue) {
  build(1, 0);
  ASSERT_EQ(MX_set_obj_scaling(kc, -2.0), 0);
  EXPECT_FALSE(kc->obj.scaleGiven);
  EXPECT_EQ(out->take(), "WARNING: objScaleFactor is non-positive.  The default scaling will be used.\n");
  ASSERT_EQ(MX_set_obj_property(kc, 2), 0);
  EXPECT_EQ(kc->obj.property, -1);
  EXPECT_EQ(MX_set_obj_goal(kc, 2), MX_RC_BAD_OBJECTIVE);
  EXPECT_EQ(out->take(), "ERROR: Bad value for objective goal.\n");
}

TEST(ModelOlderFamily, ContextWithoutModelLayerRefusesModelCalls) {
  MXL_context_ptr ctx = MXL_new();
  ASSERT_NE(ctx, nullptr);
  PrintCapture cap(ctx);
  EXPECT_EQ(MX_add_vars(ctx, 1, nullptr), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(cap.take(), "ERROR: MX_new*() must be called before calling MX_add_vars().\n");
  EXPECT_EQ(MXL_free(&ctx), 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(MXL_free(nullptr), MX_RC_BAD_KCPTR);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "WARNING: MX_free()/MXL_free() was passed a NULL handle (pointer to pointer).\n");
}

}  // namespace
