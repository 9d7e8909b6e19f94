// The inner solver context (MXL_context) and the model layer (MXMOD).
//
// The handle of the public interface points to MXL_context. It owns every
// array of the problem; the model layer holds the structure that MX_solve
// merges into the inner patterns. Arrays are std::vector so that ownership
// is automatic and a failed growth leaves the old contents intact.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "driver/output.h"
#include "morvex.h"
#include "driver/error_measures.h"
#include "driver/solve.h"
#include "linalg/blas_table.h"
#include "options/option_files.h"
#include "options/options.h"
#include "interface/evaluation.h"
#include "interface/patterns.h"
#include "presolve/presolve.h"

using nnzint = int64_t;

constexpr uint32_t MX_MAGIC = 0x4AEC329Au;
constexpr double MX_INF = 1.7976931348623157e308;

// Solve positions stored in MXL_context::status.
enum MxStatus { MX_STATUS_IDLE = 0, MX_STATUS_ITERATING = 4, MX_STATUS_FINISHED = 5 };

// Optional per-item families keep a presence flag beside their array.
template <class T>
struct MxOptArray {
  std::vector<T> v;
  bool given = false;
  bool exists() const { return !v.empty(); }
};

// Pending constant changes for a re-solve, folded in by mxLoadConstants.
struct MxConstantStore {
  double objConstant = 0.0;
  double objPending = 0.0;
  bool objPendingSet = false;
  bool objDelete = false;
  std::vector<double> conPending;   // created on first use after a solve
  std::vector<char> conDelete;      // created on first use after a solve
};

struct BarrierState;
struct BarrierStateDeleter {
  void operator()(BarrierState *p) const;
};

struct MXCB;
struct MXLIN;
struct MXQUAD;
struct MXCONIC;

struct MXMOD {
  MXL_context *owner = nullptr;
  std::vector<std::unique_ptr<MXCB>> callbacks;
  std::vector<std::unique_ptr<MXCONIC>> conics;
  std::unique_ptr<MXLIN> linear;
  std::unique_ptr<MXQUAD> quadratic;
  int varsAdded = 0, consAdded = 0, objAdded = 0, rsdsAdded = 0;
  int numVars = 0, numCons = 0, numRsds = 0;
  int numericGradModes = 0;  // bit 0: a callback uses forward, bit 1: central differences
  int someGradExact = 1;
  MxConstantStore constants;
  // Pattern summaries merged from the structures.
  MxMergeSummary merged;

  explicit MXMOD(MXL_context *o);
  ~MXMOD();
  MXMOD(const MXMOD &) = delete;
  MXMOD &operator=(const MXMOD &) = delete;
};

// Per-variable data (length n).
struct MxVarData {
  std::vector<double> x;
  std::vector<int> type;
  std::vector<int> hasInitial;
  std::vector<double> lo, up;
  std::vector<double> objGrad;
  std::vector<double> savedBoundLambda;
  std::vector<double> origLo, origUp;          // created at the first solve
  MxOptArray<double> feasTol;
  MxOptArray<double> scaleFactor;              // given: user scaled variables
  std::vector<double> scaleCenter;
  MxOptArray<std::string> name;                // empty string: no name
  std::vector<char> hasName;
  MxOptArray<int> property;
  MxOptArray<int> honorBnds;
  std::vector<double> mipInit;
  std::vector<int> priority;
  std::vector<int> intStrategy;
  int numPriorities = 0;
  int numRelaxStrategies = 0, numMpecStrategies = 0;
};

// Per-constraint data (length m).
struct MxConData {
  std::vector<double> c;
  std::vector<double> constant;
  std::vector<int> type;
  std::vector<int> property;
  std::vector<double> lo, up;
  MxOptArray<double> feasTol;
  MxOptArray<double> scaleFactor;
  MxOptArray<std::string> name;
  std::vector<char> hasName;
  MxOptArray<int> honorBnds;
  bool propertiesGiven = false;
};

struct MxRsdData {
  std::vector<double> value;
  std::vector<double> constant;
  std::vector<int> type;
};

struct MxCompData {
  std::vector<int> index1, index2;   // pairs
  std::vector<int> partner;          // per variable: -1 or the partner
  MxOptArray<double> feasTol;
  MxOptArray<double> scaleFactor;
  MxOptArray<std::string> name;
  std::vector<char> hasName;
  bool presolveRebuild = false;
};

struct MxObjective {
  int goal = MX_OBJGOAL_MINIMIZE;
  int type = MX_OBJTYPE_NONE;
  int property = 0;
  double scaleFactor = 1.0;
  bool scaleGiven = false;
  std::string name;
  bool hasName = false;
};

// Where the time of a solve went, for the profile printed with `debug` 1.
struct MxProfileTimes {
  double totalReal = 0.0, totalCpu = 0.0;
  double fcTime = 0.0, gaTime = 0.0, hTime = 0.0, hvTime = 0.0;
  int fcCount = 0, gaCount = 0, hCount = 0, hvCount = 0;
  double internalEvalTime = 0.0;
  double blasTime = 0.0;
  double lapackTime = 0.0;
  int lapackCount = 0;
  double presolveTime = 0.0, loadTime = 0.0, setupTime = 0.0;
};

struct MxTimers {
  double startReal = 0.0;
  double startCpu = 0.0;
  MxProfileTimes profile;
};

struct MXL_context {
  uint32_t magic = MX_MAGIC;
  MxOptionBlock opt;
  MXL_context *rootContext = nullptr;
  int subproblemKind = 0;
  std::unique_ptr<MxTimers> timers;
  std::unique_ptr<MxOutputState> output;
  std::unique_ptr<MXMOD> model;
  std::mutex mutex;
  MX_puts *putsCallback = nullptr;
  void *userParams = nullptr;

  // State flags.
  int modelLayerActive = 0;
  int problemLoaded = 0;
  int isLeastSquares = 0;
  int noInitialX = 1, noInitialLambda = 1;
  int solveInProgress = 0;
  int fatalError = 0;
  int quietSubsolve = 0;
  int initialEvalState = 0;
  int warmStartMode = 0;
  int isMixedInteger = 0;
  int changeLevel = 0;
  int updateOnly = 0;

  // Results.
  int returnCode = 0;
  int status = MX_STATUS_IDLE;

  // Choices resolved from automatic options at solve time.
  int resolvedAlgorithm = 0;
  int resolvedBarRule = 0;
  int resolvedInitpt = 0;
  int resolvedHessopt = 0;
  int resolvedLinsolver = 0;
  int resolvedBlasoption = 0;
  int resolvedLinsysStorage = 0;
  int resolvedFeasible = 0;
  int resolvedPenaltyCons = 0;
  int resolvedHonorbnds = 0;
  int resolvedQcqpInit = 0;
  int resolvedMurule = 0;
  double activePenalty = 10.0;
  int isLP = 0;
  int msReportId = 0;  // the value of parameter id 999
  MxTunerGrid tunerGrid;  // options and values read from a tuner options file

  // Problem data.
  int n = 0, m = 0, r = 0;
  MxVarData var;
  MxConData con;
  MxRsdData rsd;
  MxCompData comp;
  MxObjective obj;
  std::vector<double> lambda;   // m + n: constraints first, then bounds

  // Structure, patterns and evaluation state (merged model, callbacks).
  // The BLAS behind the dense kernels of this context.
  MxBlasTable blasTable;
  // Error measures and the best point of the current solve.
  MxErrorState errState;
  MxInnerPatterns pat;
  MxEvalState eval;
  MxHooks hooks;
  MxOlderCallbacks older;
  MXL_context *parentContext = nullptr;  // the context a child was copied from

  // State of the solve driver.
  MxDriverState drv;
  // The presolved model the algorithms work on.
  PreModel pre;
  // State of the interior-point method between legs of a solve.
  std::unique_ptr<BarrierState, BarrierStateDeleter> bar;

  // Debug checksum of the record, kept while a solve runs.
  int debugChecksum = 0;

  MXL_context();
  ~MXL_context();
  MXL_context(const MXL_context &) = delete;
  MXL_context &operator=(const MXL_context &) = delete;
};

// Creation and copying of contexts.
MXL_context *mxl_new_basic(MX_puts *puts, void *userParams, void *reserved, int *error);
int mx_init(MXL_context *ctx);
MXL_context *MXL_new_puts_subproblem(MXL_context *parent, MX_puts *puts, void *params,
                                     void *output, int kind);
MXL_context *mx_new_puts_subproblem(MXL_context *parent, MX_puts *puts, void *params,
                                    void *output, int kind);
int mx_copy_problem(MXL_context *source, MXL_context *target, int keepIntegerTypes,
                    int copySolverState);
void mx_init_copy(const MXL_context &source, MXL_context &target);
void MXMODcopy(const MXMOD &source, MXMOD &target);
void reset_nonuser_params_to_defaults(MXL_context *ctx);
// Destroys a context made by mxl_new_basic (no checks).
void mxl_destroy(MXL_context *ctx);
