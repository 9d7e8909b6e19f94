// The interior-point (barrier) method: state and operations.
//
// The method works on the bounded-slack form of the presolved model: every
// finite bound of a variable and every side of an inequality is a row of its
// own with a positive slack; fixed variables are equality rows. The full
// iterate is [primal variables; slacks of inequalities; slacks of bound
// rows], the rows are [equalities; inequalities; fixed; bound rows]. Slack
// steps are relative (ds_j / s_j), which fixes the coefficients of the
// linear systems: gradient -mu, Jacobian entry -s_j, Hessian sigma_j =
// lambda_j s_j.
//
// All state of a leg lives in BarrierState, held by the context, so that a
// restart or a second leg can pick up what the first left.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "barrier/barrier_cg.h"
#include "barrier/barrier_qn.h"
#include "linalg/engine.h"

struct MXL_context;

// Kinds of rows of the full constraint vector.
enum BarRowKind {
  BAR_ROW_EQ = 0,        // c_i(x) - b_i = 0
  BAR_ROW_INEQ_LO = 1,   // c_i(x) - cl_i - s = 0
  BAR_ROW_INEQ_UP = 2,   // cu_i - c_i(x) - s = 0
  BAR_ROW_FIXED = 3,     // x_i - value = 0
  BAR_ROW_BOUND_LO = 4,  // x_i - l_i - s = 0
  BAR_ROW_BOUND_UP = 5   // u_i - x_i - s = 0
};

struct BarRow {
  int kind = BAR_ROW_EQ;
  int item = 0;       // model constraint (kinds 0-2) or variable (kinds 3-5)
  int slack = -1;     // index into the slack block, -1 for rows without one
  double bound = 0.0; // the bound that shifts the row
  // Elastic columns of the row (primal block, -1 for none) and their
  // coefficients: +1 relaxes a side, an equality has the pair -1, +1.
  int pen[2] = {-1, -1};
  double penCoef[2] = {0.0, 0.0};
  // Factor of a constraint row (1 on variables); bound is already scaled.
  double scale = 1.0;
  // sum of coef * v over the elastic columns of the row
  double penTimes(const double *v) const {
    double t = 0.0;
    for (int q = 0; q < 2; ++q)
      if (pen[q] >= 0) t += penCoef[q] * v[pen[q]];
    return t;
  }
  // y[column] += coef * w over the elastic columns of the row
  void penAdd(double w, double *y) const {
    for (int q = 0; q < 2; ++q)
      if (pen[q] >= 0) y[pen[q]] += penCoef[q] * w;
  }
  double sign() const { return kind == BAR_ROW_INEQ_UP || kind == BAR_ROW_BOUND_UP ? -1.0 : 1.0; }
  // The row's factor times its sign: what multiplies the constraint's
  // value and gradient in the row.
  double coef() const { return sign() * scale; }
  bool onVariable() const { return kind >= BAR_ROW_FIXED; }
};

// Outcomes of an iteration (stepOutcome).
enum BarStepOutcome {
  BAR_STEP_ACCEPTED = 1,
  BAR_STEP_REJECTED = 2,
  BAR_STEP_NONE = 3,
  BAR_STEP_AT_FLOOR = 4,
  BAR_STEP_BEST_RESTORED = 5
};

// Results of the step-size decision of a direct step, named in the debug row.
enum BarDirectResult {
  BAR_TRY_FULL = 0, BAR_TRY_CUT_S, BAR_TRY_CUT_L, BAR_REJ_CUT, BAR_REJ_CUT_S, BAR_REJ_CUT_L, BAR_REJ_INERT
};

// The linear system of the step (KKT) or of projections (AUG). Values are
// written through positions computed once per form, so forming costs one
// pass over the nonzeros.
struct BarKKT {
  int form = 1;            // 1 slacks eliminated, 2 bound rows too, 3 inequalities too
  int dim = 0;             // matrix dimension
  int nRowsIn = 0;         // constraint rows kept in the matrix
  std::vector<int> rowPos; // full row -> matrix index (-1 when eliminated)
  std::vector<int> irn, jcn;     // pattern, one entry per coordinate
  std::vector<double> val;
  // Positions of the contributions.
  std::vector<int64_t> hessPos;  // Hessian entry k -> val index
  std::vector<int64_t> diagPos;  // matrix index -> val index of its diagonal
  std::vector<int64_t> jacPos;   // (Jacobian entry, copy) -> val index, -1 when eliminated
  std::vector<int> jacRow;       // (Jacobian entry, copy) -> full row
  std::vector<int> jacEntry;     // (Jacobian entry, copy) -> model Jacobian entry
  std::vector<int64_t> varRowPos;  // rows on variables in the matrix -> val index of (row, var)
  std::vector<int64_t> penPos;     // (row, elastic slot) -> val index of (row, column), -1 none
  std::vector<int64_t> ineqPos;    // form 3: (pair of entries of one inequality row) -> val index
  std::vector<int> ineqPairA, ineqPairB, ineqPairRow;
  LinSystem sys;
  bool analysed = false;
  bool factored = false;
  int negEig = 0;
  bool singular = false;
};

// What the watchdog keeps of the point where it started.
struct BarWatchdog {
  int state = 0;  // 0 idle; 1 running the watchdog step; 2 step after it
  int budget = 0, count = 0;
  bool justEntered = false;
  std::vector<double> x, lambda, c, cModel, gModel, jacVals, hessVals, d, dLambda;
  double fObj = 0.0, phi = 0.0, cNorm = 0.0, merit = 0.0, delta = 0.0, nu = 0.0, mu = 0.0, nuMerit = 0.0;
  int stepKind = 2;
};

// Elastic variables (bar_penaltycons): columns n .. nX-1 of the primal
// block, each >= 0 through a bound row, weighted by pi in the objective
// while the model's objective carries the factor piObjFactor.
struct BarPenalty {
  int count = 0;                 // elastic columns
  std::vector<int> row;          // column - n -> its full row
  double pi = 10.0, piObjFactor = 1.0, piCap = 1e6;
  std::vector<double> sumHistory;  // sum of elastic values after accepted steps
};

// The switch between the main mode and feasibility restoration.
struct BarRestore {
  bool active = false;      // switching on (bar_switchrule 2, 3)
  int phase = 2;            // 2 main, 3 restoration
  int patience = 1000000;   // stalls before a switch
  int stallCount = 0, switches = 0, mainIters = 0, legIters = 0;
  bool wantSwitch = false;
  double feasErrStart = 0.0, cNormStart = 0.0, deltaSaved = 1.0;
  double cNormHistory[5] = {0, 0, 0, 0, 0};  // ||c|| after the last accepted steps
  int noProgress = 0, stalledLegs = 0;
  double cNormStalled = 0.0;
  double cNormWindow = 0.0;  // ||c|| at the start of the leg's current window of steps
  int windowStart = 0;       // the leg iteration that window started at
  bool handBack = false;    // the leg stalled: back to the main mode
  bool stalled = false;     // legs keep stalling at the same violation
};

struct BarrierState {
  // Sizes.
  int n = 0, m = 0;         // presolved model
  int nX = 0, nSlacks = 0, nFull = 0, mFull = 0;
  int nEq = 0, nIneq = 0, nFixed = 0, nBoundRows = 0;
  int64_t nnzJ = 0, nnzH = 0;
  std::vector<BarRow> rows;          // mFull rows
  std::vector<int> slackRow;         // slack -> row
  std::vector<int> conFirstRow;      // model constraint -> first row (ranges have two)
  std::vector<int> conRowCount;      // model constraint -> 1 or 2 rows
  std::vector<int> varBoundRows[2];  // primal column -> lower / upper bound row (-1)
  std::vector<int> varFixedRow;      // primal column -> fixed row (-1)
  double objSign = 1.0;              // -1 for a maximisation
  double objScale = 1.0;             // the objective's factor (scale option)
  double objFactor = 1.0;            // objSign objScale: the objective as the method sees it
  double objWeight = 1.0;            // objFactor times the elastic mode's piObjFactor
  BarPenalty pen;
  // Patterns of the model (owned by the context, fixed during a leg).
  const int *jacCons = nullptr, *jacVars = nullptr;
  const int64_t *jacRowPtr = nullptr;
  const int *hessI = nullptr, *hessJ = nullptr;

  // Iterate and trial.
  std::vector<double> x, xTrial;             // nFull (slacks after the primal block)
  std::vector<double> lambda, lambdaTrial;   // mFull
  std::vector<double> c, cTrial;             // mFull
  std::vector<double> d, dLambda;            // step (slack part relative)
  std::vector<double> dAff, dLambdaAff;      // predictor
  std::vector<double> dCorr, dLambdaCorr;    // corrector work
  std::vector<double> gradPhi;               // nFull
  std::vector<double> Hd;                    // W d over nFull
  double fTilde = 0.0, fTildeTrial = 0.0;    // objective of the minimisation
  double fObj = 0.0, fObjTrial = 0.0;        // the model's part of it, scaled, before piObjFactor
  double phi = 0.0, phiTrial = 0.0;          // barrier objective

  // Model-side values.
  std::vector<double> cModel, cModelTrial;   // m
  std::vector<double> gModel, gModelTrial;   // n (objective gradient, model sense)
  std::vector<double> jacVals;               // nnzJ
  std::vector<double> hessVals;              // nnzH
  std::vector<double> lambdaUser;            // m + n, model convention
  std::vector<double> lambdaApp, xApp, cApp, rApp;  // the model as given
  std::vector<double> xAppTrial, cAppTrial;          // the trial, as given
  std::vector<double> workN, workM, workFull, workRows, workRhs, workSol, workRes, workBest;
  std::vector<double> rhsX, rhsC, dSave, dLambdaSave;

  // Linear systems.
  BarKKT kkt;
  BarCG cg;  // trust-region step and its projection system
  BarQN qn;  // quasi-Newton Hessian (hessopt 2, 3, 6) or products (4, 5)

  // Loop position and counters.
  int barStage = 1;
  int evalRequest = 4;
  int barStatus = 0;
  int stepOutcome = BAR_STEP_ACCEPTED;
  int stepKind = 2;
  bool directStepOk = false;
  int iterCount = 0, totalIterCount = 0;
  int muIterCount = 0, muIterCountAll = 0;
  int consecutiveCG = 0, smallStepCount = 0;
  double lastStepAlphas[10] = {0};
  int tinyStepDrops = 0, refinements = 0, tinyDirectSteps = 0, restartCount = 0;
  int rejections = 0;
  bool solutionFound = false;
  bool needMuUpdate = false, monotoneDrop = false, forceFGUpdate = false;
  bool firstMuUpdate = true;
  bool nearSolution = false;
  bool initPointPhase = false;
  int murule = 4;
  int lastPrintedIter = -1;
  bool retestPass = false;
  int directResult = BAR_TRY_FULL;

  // Step sizes and trust radius.
  double alpha = 1.0, alphaMaxPrimal = 1.0, alphaMaxDual = 1.0, alphaMax = 1.0;
  double delta = 1.0, deltaPrev = 1.0;
  bool radiusHeld = false;
  double stepNorm = 0.0;

  // Barrier parameter.
  double mu = 0.1, muPrevious = 0.1, muTarget = 0.1, muTol = 0.1, muPow = 0.0;
  double muFloorRef = 3e-16, rho = 0.995, barSlackFloor = 5e-16;
  bool fastDropFlag = false;
  bool safeguardMode = false;
  int safeguardCount = 0, failCount = 0;
  std::vector<double> filterF, filterFeas;
  std::vector<double> kktHistory;
  double kktBest = 1e300;   // best KKT measure of a predictor rule
  int kktBestIter = 0;
  int maxCorrectors = 1, correctorsUsed = 0;
  bool noCorrectors = false, probing = false;

  // Regularisation and inertia.
  double pertH = 0.0, pertHLast = 0.0;
  bool pertHReused = false;
  double regKKT = 0.0;
  int regKKTLevel = 0, singularCount = 0;
  bool regKKTFlag = false;
  bool wantFormChange = false;
  int numPerturbations = 0, numFactorizations = 0;
  double pertHMin = 0.0;     // smallest shift of a retried direct step
  double guardLambda = 0.0;  // largest multiplier seen at a feasible point
  bool feasibleMode = false; // iterates stay inside the inequalities and bounds
  int directRetries = 0;     // direct steps retried at this point
  bool convexInertiaBad = false;
  bool dualRepair = false;      // the dual step needs the sign repair
  double lastSolveResidual = 0.0;

  // Merit function.
  double nu = 10.0, nuLow = 1e-5, nuHigh = 10.0, nuAccepted = 10.0, nuTrial = 0.0;
  double pred = 0.0, ared = 0.0, aredObj = 0.0, aredCons = 0.0, aredLow = 0.0, aredHigh = 0.0;
  double ratio = 0.0, ratioLow = 0.0, ratioHigh = 0.0;
  double linPred = 0.0, objPred = 0.0, nuUsed = 10.0;
  double cNorm = 0.0, cNormTrial = 0.0, xNorm = 0.0;
  bool stepUsable = true;
  int tinyReductions = 0, noiseAccepts = 0;
  double flexCap = 1e8;
  BarWatchdog watchdog;
  BarRestore resto;

  // Errors and the stop test.
  double feasErr = 0.0, optErr = 0.0, feasErrPre = 0.0, feasErr0 = 0.0, feasErrBest = 0.0;
  double feasScale = 1.0, optScale = 1.0;
  double optScaleInt = 1.0;  // optScale of the scaled objective, for the method's own residuals
  double cErr = 0.0, dualInf = 0.0, compErr = 0.0, barrierErr = 0.0, errCurrent = 1.0;
  double optErr0 = 0.0, compErrApp = 0.0, tolFeas = 0.0, tolOpt = 0.0;
  double optErrRecent[3] = {0.0, 0.0, 0.0};  // the last three, newest first
  int lsNextIter = 0, lsWait = 1;  // when least-squares multipliers may be tried again
  bool polishTried = false;        // the converged point was offered to the polish
  int polishSteps = 0;
  bool feasScaleSet = false;
  bool feasibleNow = false, everFeasible = false;
  int xtolRun = 0, ftolRun = 0, infeasStall = 0, infeasStationary = 0;
  int creepRun = 0;          // feasible steps under 1e-8 of the point that do not cut the errors
  int stuckRun = 0;          // feasible steps at one barrier parameter that do not cut the errors
  double creepErr[2] = {0.0, 0.0}, stuckErr[2] = {0.0, 0.0};  // feasibility, optimality when each run began
  double creepMu = 0.0;      // the barrier parameter of the last step
  double fPrev = 0.0, feasErrPrevStall = 0.0;
  double gradNormStart = 0.0;
  double lastErrMax = 0.0;
  bool fstopReached = false;
  bool elasticInfeasible = false;  // the elastic problem is solved at its limits, the model violated
  bool elasticStationary = false;  // the elastic problem is solved, the model violated

  // Engines chosen for the step system.
  LinEngineKind engineKind = LIN_ENGINE_DENSE;
  int engineNumber = 0;
  bool convexModel = false;
  bool modelIsLP = false, modelIsQP = false;
};

#include "interface/context.h"  // BarrierStateDeleter

// Whether the row is the bound p >= 0 of an elastic column.
inline bool barElasticBound(const BarrierState &b, const BarRow &row) { return row.onVariable() && row.item >= b.n; }

// ---- Loop (barrier_main.cpp) ----
void barrierMain(MXL_context *ctx);
int barrierInitialize(MXL_context *ctx);
void barrierFinished(MXL_context *ctx);
int barrierNewpoint(MXL_context *ctx);
int barrierRestartCheck(MXL_context *ctx);
void barResetInitPoint(MXL_context *ctx, BarrierState &b);

// ---- Setup (barrier_setup.cpp) ----
void barrierSizes(MXL_context *ctx, BarrierState &b);
void barrierScaleRows(BarrierState &b, const std::vector<double> &factor);
void barrierAllocate(BarrierState &b);
void initvals(MXL_context *ctx, BarrierState &b);

// ---- Functions and derivatives (barrier_eval.cpp) ----
// Model values at the primal block of xs into fTilde/cModel; the full rows
// into c. Returns 0, -502 on an undefined point, or a code that ends the solve.
int barrierComputeFC(MXL_context *ctx, BarrierState &b, const double *xs, double *fObj, double *fTilde,
                     double *cModel, double *c);
int barrierComputeGA(MXL_context *ctx, BarrierState &b, const double *xs, bool fatal = true);
int barrierComputeH(MXL_context *ctx, BarrierState &b, int request);
// Full rows from model values (no evaluation).
void barrierFormRows(const BarrierState &b, const double *xs, const double *cModel, double *c);
// phi and gradPhi from fTilde, the slacks and mu.
void barrierUpdateFG(BarrierState &b);
double barrierPhi(const BarrierState &b, const double *xs, double fTilde);
void updateIterate(BarrierState &b, const double *x, const double *step, double alpha, double *xTrial);
// y := A v (full rows) and y := A' w (full iterate).
void barrierJacTimes(const BarrierState &b, const double *xs, const double *v, double *y);
void barrierJacTransTimes(const BarrierState &b, const double *xs, const double *w, double *y);
// W v over the full iterate (Hessian of the Lagrangian, slack diagonal).
void barrierHessTimes(const BarrierState &b, const double *v, double *y);
// Multipliers in the model convention (m + n), sense included.
void barrierLambdaToUser(const BarrierState &b, const double *lambda, double *user);
double norm2(int n, const double *v);
inline double barrierDot(int n, const double *a, const double *b) {
  double s = 0.0;
  for (int i = 0; i < n; ++i) s += a[i] * b[i];
  return s;
}
double normInf(int n, const double *v);

// ---- Linear systems (barrier_kkt.cpp) ----
void barrierKKTinit(MXL_context *ctx, BarrierState &b, int form);
void barrierKKTform(MXL_context *ctx, BarrierState &b, int recompute);
// Factors with the current pertH and regularisation; returns 0 or a
// negative engine status.
int barrierKKTfactor(MXL_context *ctx, BarrierState &b);
// Solves for [d; y] with rhs [rx (nFull: primal then relative slack); rc
// (mFull)]; writes d (nFull) and dLambda = -y (mFull).
int barrierKKTsolve(MXL_context *ctx, BarrierState &b, const double *rhsX, const double *rhsC, double *d,
                    double *dLambda, int refineMin);
void barrierKKTswitchForm(MXL_context *ctx, BarrierState &b, int form);
void barrierKKTfree(BarrierState &b);
int barrierExpectedNeg(const BarrierState &b);
// The engine for a system of this dimension (linsolver, debug options).
LinEngineKind barrierEngineFor(MXL_context *ctx, int dim);
// Analyses the pattern of a barrier system for the engine chosen by size,
// with refinement left to the caller and only rounding-level pivots null.
int barrierAnalyzeSystem(MXL_context *ctx, LinSystem &sys, int dim, const std::vector<int> &irn,
                         const std::vector<int> &jcn, LinEngineKind *kind, double *pivotTol);

// ---- Elastic variables (barrier_penalty.cpp) ----
// Adds the elastic columns and their bound rows for bar_penaltycons 2, 3.
void penaltyBarSetup(MXL_context *ctx, BarrierState &b);
// Initial pi and piObjFactor from the gradient at the start.
void penaltyBarInitPi(MXL_context *ctx, BarrierState &b);
// Elastic values that close their rows with the slack-sized shift.
void penaltyBarInitVars(BarrierState &b, double shift);
// fTilde from the model's part and the elastic sum.
double penaltyBarObjective(const BarrierState &b, const double *xs, double fObj);
// Raises pi (or lowers piObjFactor) after an accepted step when the
// elastic values stop falling; force raises whenever possible.
bool penaltyBarUpdatePi(MXL_context *ctx, BarrierState &b, bool force);
// Whether pi and its factor have reached their limits.
bool penaltyBarAtLimit(const BarrierState &b);
double penaltyBarSum(const BarrierState &b, const double *xs, double *maxElastic);

// ---- Feasibility restoration (barrier_restore.cpp) ----
void switchInitialize(MXL_context *ctx, BarrierState &b);
void switchToRestorationCheck(MXL_context *ctx, BarrierState &b);
void switchRestorationInit(MXL_context *ctx, BarrierState &b);
void switchMainModeInit(MXL_context *ctx, BarrierState &b);
bool switchToMainModeCheck(const BarrierState &b);
int barTakeRestorationStep(MXL_context *ctx, BarrierState &b);
int barrierRestorationEnd(const BarrierState &b);
double barrierInfeasibilityGradient(const BarrierState &b);

// ---- Quasi-Newton Hessians (barrier_qn.cpp) ----
void barrierQNSetup(MXL_context *ctx, BarrierState &b);
bool barrierUsesQN(const BarrierState &b);
void barrierQNStore(BarrierState &b);
void formQN(MXL_context *ctx, BarrierState &b);
int updateb(MXL_context *ctx, BarrierState &b);
void mmv(const BarrierState &b, const double *v, double *out);
void getbv(const BarrierState &b, const double *v, double *out);
int lmKKTupdate(MXL_context *ctx, BarrierState &b);
void lmKKTsolve(BarrierState &b, double *x);
// W v over the full iterate for every hessopt; 0 or an evaluation's code.
int barrierComputeHv(MXL_context *ctx, BarrierState &b, const double *v, double *y);

// ---- Trust-region step (barrier_cg.cpp, barrier_aug.cpp) ----
int barrierAUGinit(MXL_context *ctx, BarrierState &b);
int barrierAUGfactor(MXL_context *ctx, BarrierState &b);
int barrierAUGsolve(MXL_context *ctx, BarrierState &b, const double *rx, const double *rc, double *y, double *w);
void barrierAUGfree(BarrierState &b);
int barrierEqPrecAUGinit(MXL_context *ctx, BarrierState &b);
void formAndFactorPrecond(MXL_context *ctx, BarrierState &b);
int barrierEqPrecAUGsolve(BarrierState &b, const double *rx, const double *rc, double *y, double *w);
void barrierInitializeCG(MXL_context *ctx, BarrierState &b);
int project_r(MXL_context *ctx, BarrierState &b, const double *r, double *y, double *w);
void normalStepFree(MXL_context *ctx, BarrierState &b);
void normalStepRestricted(MXL_context *ctx, BarrierState &b);
void normalStepFreeTruncate(BarrierState &b);
int projectedCG(MXL_context *ctx, BarrierState &b, double radiusSq);
int tangentialStep(MXL_context *ctx, BarrierState &b);
int computeCGStep(MXL_context *ctx, BarrierState &b);

// ---- Direct step (barrier_direct.cpp) ----
void computeDirectStep(MXL_context *ctx, BarrierState &b);
// Rules 6 and 7: the centring weight by golden section (barrier_quality.cpp).
int qualityFunctionSigmaSearch(MXL_context *ctx, BarrierState &b);
void barrierStepLengths(const BarrierState &b, const double *d, const double *dLambda, double tau,
                        double *alphaP, double *alphaD);

// ---- Barrier parameter (barrier_mu.cpp) ----
void initmutol(MXL_context *ctx, BarrierState &b);
void updatemutol(MXL_context *ctx, BarrierState &b);
void adaptivemu(MXL_context *ctx, BarrierState &b);
double computeDynamicMu(MXL_context *ctx, BarrierState &b, double alphaP, double alphaD);
double enforceMinMu(MXL_context *ctx, const BarrierState &b, double mu);
double barrierLimitMu(MXL_context *ctx, const BarrierState &b, double mu);
double getDualityGap(const BarrierState &b, const double *x, const double *lambda, double *minComp,
                     double *maxComp, double *avgComp);
void barrierUpdateRho(BarrierState &b, double mu);

// ---- Multipliers and slacks (barrier_slacks.cpp) ----
void initializeSlacks(BarrierState &b, double push);
// The convex start: shifts the slacks s (nSlacks) and the multipliers of the
// slack rows of a full first step back inside. True when anything moved.
bool computeshift(MXL_context *ctx, BarrierState &b, double *s, double *lambda);
void initializeLambdaIneq(BarrierState &b, double floor);
void resetSlacks(BarrierState &b, double *xs, double *c);
void safeguardMultipliers(BarrierState &b, double *lambda);
void replaceNegByZero(BarrierState &b, double *lambda);
// Multipliers of slack rows below a floor take their primal value mu / s.
void replaceNegByPrimal(BarrierState &b, double *lambda, const double *xs);
double getMinSlackVal(const BarrierState &b, const double *xs);
double getMaxLambdaVal(const BarrierState &b, const double *lambda);
void resetBndMultipliers(BarrierState &b);

// ---- Feasible mode (barrier_feasible.cpp) ----
// Whether every slack row of the point is more than tolX (bounds) or tolC
// (constraints) inside.
bool checkFeasibility(const BarrierState &b, const double *xs, const double *c, double tolX, double tolC);
// Whether the primal block is strictly inside its bounds.
bool checkBounds(const BarrierState &b, const double *xs);
// The step cut to keep every variable inside its bounds (feasible mode).
void barrierFeasibleCut(BarrierState &b);
// Slacks set to their rows exactly (the rows inside).
void barrierFeasibleSlacks(BarrierState &b, double *xs, double *c);
// Starts feasible mode at the current point when asked for and the point is
// inside.
void barrierFeasibleModeCheck(MXL_context *ctx, BarrierState &b);

// ---- Line search and merit (barrier_linesearch.cpp) ----
int barrierLineSearch(MXL_context *ctx, BarrierState &b);
// The trial x + alpha d (and lambda + alpha dLambda) evaluated, slacks reset:
// 0, 1 for an undefined point, or a negative code that ends the solve.
int barrierEvaluateTrial(MXL_context *ctx, BarrierState &b);
// Whether a variable whose bounds are honoured lies outside them.
bool barOutsideHonouredBounds(const MXL_context *ctx, const BarrierState &b, const double *xs);
bool barrierWatchdogCheck(MXL_context *ctx, BarrierState &b);
void barrierWatchdogStore(BarrierState &b);
void barrierWatchdogRestore(BarrierState &b);
void barrierWatchdogAdvance(BarrierState &b, bool beatStored);
bool barrierTestForSOC(MXL_context *ctx, const BarrierState &b, double objNeeded);
int barrierComputeSOC(MXL_context *ctx, BarrierState &b);
void barrierUpdateTRaccept(BarrierState &b);
void barrierUpdateTRreject(BarrierState &b);

// ---- Stop test (barrier_stop.cpp) ----
void barrierStopTest(MXL_context *ctx, BarrierState &b);
// Whether feasible point A (objective, optimality error) is better than B.
bool barrierFeasibleBetter(double objSign, double fA, double optA, double fB, double optB);
// The multipliers handed back at the end, in lambdaApp.
void barrierReturnMultipliers(MXL_context *ctx, BarrierState &b);
// Switches between the free rules and the monotone safeguard (bar_globalize).
void nlpGlobalize(MXL_context *ctx, BarrierState &b);
double getBarCompErr(const BarrierState &b, const double *x, const double *lambda, const double *r, double mu);
// Whether the run has used up maxtime_cpu or maxtime_real.
bool barTimeUp(MXL_context *ctx);
// r = gradPhi - A' lambda over the full iterate; returns the infinity norm of
// its primal block.
double barrierDualResidual(const BarrierState &b, const double *xs, const double *lambda, double *r);
// Optimality error of b.lambda in the model as given (fills xApp, cApp,
// lambdaApp and compErrApp).
double barrierOptimalityError(MXL_context *ctx, BarrierState &b);
// The least-squares multipliers at the point; false when the projection
// system cannot be factored.
bool barLeastSquaresMultipliers(MXL_context *ctx, BarrierState &b, std::vector<double> &lambda);

// ---- Polish of a degenerate solution (barrier_polish.cpp) ----
// 0: the point stays; 1: polished and optimal; 2: polished, multipliers unbounded.
int barrierPolishDegenerate(MXL_context *ctx, BarrierState &b, bool always);
