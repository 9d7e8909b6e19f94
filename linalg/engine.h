// Symmetric indefinite factorization engines behind one interface.
//
// A matrix is handed over in coordinate form, one triangle (either one; an
// entry and its mirror must not both be given), 0-based indices. The four
// operations are analysis (pattern and ordering), numeric factorization
// (inertia and singularity), an in-place solve with iterative refinement, and
// release. Engines do not see the context: their settings come in a plain
// struct filled by linSettingsFromContext.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

struct MXL_context;
using nnzint = int64_t;

// Ordering choices (values of linsolver_ordering).
enum LinOrdering { LIN_ORDER_AUTO = -1, LIN_ORDER_BEST = 0, LIN_ORDER_AMD = 1, LIN_ORDER_METIS = 2 };

// Engines that can be had here. Engine numbers of the linsolver option map
// onto these through linEngineForSystem.
// The sparse LDL^T engine hands a system to the multifrontal one where its
// factor would be costly or its pivots untrustworthy.
enum LinEngineKind { LIN_ENGINE_DENSE = 1, LIN_ENGINE_MUMPS = 2, LIN_ENGINE_LDL = 3 };

// Status values of the engine operations (0 is success).
enum LinStatus {
  LIN_OK = 0,
  LIN_ERR_INPUT = -1,       // bad dimensions or indices
  LIN_ERR_ORDER = -2,       // operation out of order (factor before analysis...)
  LIN_ERR_SINGULAR = -3,    // solve asked on a singular factor
  LIN_ERR_MEMORY = -4,      // the engine ran out of memory
  LIN_ERR_ENGINE = -5       // any other failure inside the engine
};

struct LinSettings {
  double pivotTol = 1e-8;     // threshold partial pivoting, 0 to 0.5
  double nullPivotTol = 1e-10;  // relative to the largest entry: smaller pivots are null
  int scaling = 0;            // 0 none, 1 always, 2 dynamic (engine decides)
  int ordering = LIN_ORDER_AUTO;
  int nodeAmalg = 0;
  int ooc = 0;
  int maxRefine = 2;          // iterative refinement steps after the solve
  double refineTol = 1e-14;   // stop refining when ||r|| <= refineTol * ||b||
};

struct LinMatrix {
  int n = 0;
  nnzint nnz = 0;
  const int *row = nullptr;
  const int *col = nullptr;
  const double *val = nullptr;
};

struct LinFactorInfo {
  int status = LIN_OK;
  int negEig = 0;      // negative eigenvalues among the non-null pivots
  int nullPivots = 0;  // rank deficiency found
  bool singular() const { return nullPivots > 0; }
};

struct LinMumpsState;
struct LinDenseState;
struct LinLdlState;
// Deleters defined beside each engine, which alone knows its state.
struct LinMumpsDeleter { void operator()(LinMumpsState *p) const; };
struct LinDenseDeleter { void operator()(LinDenseState *p) const; };
struct LinLdlDeleter { void operator()(LinLdlState *p) const; };

// One system: the engine's state, a copy of the pattern and of the values
// of the last factorization (for the refinement residual).
struct LinSystem {
  LinEngineKind kind = LIN_ENGINE_DENSE;
  LinSettings settings;
  int n = 0;
  std::vector<int> row, col;
  std::vector<double> val;
  double maxAbs = 0.0;
  int stage = 0;  // 0 new, 1 analysed, 2 factored, 3 factored but singular
  LinFactorInfo info;
  int lastOrdering = LIN_ORDER_AUTO;  // the ordering chosen at the last analysis
  std::vector<int> userOrder;         // the permutation handed to the engine, if any
  std::unique_ptr<LinMumpsState, LinMumpsDeleter> mumps;
  std::unique_ptr<LinDenseState, LinDenseDeleter> dense;
  std::unique_ptr<LinLdlState, LinLdlDeleter> ldl;

  LinSystem();
  ~LinSystem();
  LinSystem(const LinSystem &) = delete;
  LinSystem &operator=(const LinSystem &) = delete;
};

// The four operations.
int linAnalyze(LinSystem &sys, LinEngineKind kind, const LinSettings &s, int n, nnzint nnz,
               const int *row, const int *col);
LinFactorInfo linFactor(LinSystem &sys, const double *val);
// Solves in place: rhs holds b on entry and x on return.
int linSolve(LinSystem &sys, double *rhs);
void linRelease(LinSystem &sys);

// Residual norm ||b - K x||_inf of the last factored matrix (both triangles).
double linResidualInf(const LinSystem &sys, const double *x, const double *b);
void linMultiply(const LinSystem &sys, const double *x, double *y);

// Settings from the options of a context.
LinSettings linSettingsFromContext(const MXL_context *ctx);

// Rows at or below which the dense engine beats the multifrontal one
// (bench/linalg): the fallback of the sparse LDL^T up to there.
constexpr int LIN_DENSE_MAX_ROWS = 300;
// Rows at or below which systems go to the dense engine directly. The
// sparse LDL^T is faster from about 20 rows on sparse KKT systems
// (bench/linalg), but below 300 rows the gain on the collections was a few
// percent, and the dense engine's pivoting keeps sensitive nonconvex solves
// on the paths they were measured on.
constexpr int LIN_LDL_MIN_ROWS = 300;

// The engine that serves a resolved engine number for a system of n rows.
// Engine numbers without an engine here print a warning once per call and
// fall back to the substitute. Returns 0 for the user callback (-1).
int linEngineForSystem(MXL_context *ctx, int linsolver, int n, LinEngineKind *kind);
// Resolves linsolver 0 (auto) and 1 (internal) with the algorithm, and prints
// the change at outlev 4 and above.
int linResolveAuto(MXL_context *ctx, int linsolver, int algorithm, int nPlusM, bool mipSubproblem);
// The pair of the hybrid choice: engine numbers of the projection system and
// of the step system.
void linResolveHybrid(int nPlusRows, int *projectionEngine, int *stepEngine);

// Engine operations (called by the dispatch above).
// metis: a nested-dissection order of this pattern already computed (as
// metisOrdering returns it), used where the engine would compute one.
int mumpsAnalyze(LinSystem &sys, const std::vector<int> *metis = nullptr);
LinFactorInfo mumpsFactor(LinSystem &sys);
int mumpsSolve(LinSystem &sys, double *rhs);
void mumpsRelease(LinSystem &sys);
// The pivot order the engine used after analysis: perm[i] is the position
// (0-based) of variable i in the elimination order.
std::vector<int> mumpsPivotOrder(const LinSystem &sys);
// The engine's own code of the ordering it applied (1: the one handed over).
int mumpsOrderingCode(const LinSystem &sys);

int ldlAnalyze(LinSystem &sys);
LinFactorInfo ldlFactor(LinSystem &sys);
int ldlSolve(LinSystem &sys, double *rhs);
void ldlRelease(LinSystem &sys);

int denseAnalyze(LinSystem &sys);
LinFactorInfo denseFactor(LinSystem &sys);
int denseSolve(LinSystem &sys, double *rhs);
void denseRelease(LinSystem &sys);

// Fill-reducing ordering by nested dissection on the graph of a symmetric
// pattern (diagonal and duplicates ignored). Returns position[i] = place of
// variable i in the elimination order, 0-based, or an empty vector on
// failure.
std::vector<int> metisOrdering(int n, nnzint nnz, const int *row, const int *col);
