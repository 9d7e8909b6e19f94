// Evaluation of the model: the callback pipeline, the structural terms, and
// the layer the algorithms call (callbackForFC, callbackForGA, callbackForH
// and their like).
//
// Callbacks run while the solve holds the context lock; nothing here takes
// it. User routines are serialised by one process-wide critical section
// unless concurrent_evals allows them to run together.
#pragma once

#include <vector>

#include "interface/patterns.h"
#include "morvex.h"

struct MXCB;
struct MXLIN;
struct MXQUAD;
struct MXCONIC;

// Evaluation counters and clocks of the current solve.
struct MxEvalCounters {
  int numFCevals = 0;
  int numGAevals = 0;
  int numHevals = 0;
  int numHVevals = 0;
  int numRsdEvals = 0;
  int numRsdJacEvals = 0;
  double evalTime = 0.0;   // seconds of wall time in user routines
  void clear() { *this = MxEvalCounters(); }
};

// Finite-difference first derivatives of the callbacks with gradopt 2 or 3;
// installed by the derivative services. Adds into objGrad and the merged
// Jacobian values; returns 0 or a pipeline code.
using MxFinDiffGA = int (*)(MXL_context *ctx, const double *x, double *objGrad, double *jac);

struct MxEvalState {
  MxEvalCounters counters;
  int numThreadsInUse = 1;     // threads that may evaluate at once, set by the driver
  int pointFeasible = 0;       // the current iterate is feasible (for the evaluation limit)
  int pointEvaluated = 0;      // f and c are known at the current iterate
  int stopRequested = 0;       // children read their parent's
  MxFinDiffGA finDiffGA = nullptr;
};

// The single hooks and the older family's routine slots.
struct MxHooks {
  MX_user_callback *newpt = nullptr;        void *newptParams = nullptr;
  MX_user_callback *mipNode = nullptr;      void *mipNodeParams = nullptr;
  MX_user_callback *mipUserCuts = nullptr;  void *mipUserCutsParams = nullptr;
  MX_user_callback *mipLazyCons = nullptr;  void *mipLazyConsParams = nullptr;
  MX_user_callback *msProcess = nullptr;    void *msProcessParams = nullptr;
  MX_ms_initpt_callback *msInitpt = nullptr; void *msInitptParams = nullptr;
  MX_linsolver_callback *linsolver = nullptr; void *linsolverParams = nullptr;
};

struct MxOlderCallbacks {
  MXL_callback *func = nullptr, *grad = nullptr, *hess = nullptr;
  MXL_callback64 *func64 = nullptr, *grad64 = nullptr, *hess64 = nullptr;
  MXL_user_callback *newpt = nullptr, *msProcess = nullptr, *mipNode = nullptr;
  MXL_ms_initpt_callback *msInitpt = nullptr;
  MXL_lsq_callback *lsqRes = nullptr, *lsqJac = nullptr;
  MXL_lsq_callback64 *lsqRes64 = nullptr, *lsqJac64 = nullptr;
};

// Number of the evaluating thread inside a parallel region (0 outside).
extern thread_local int mxEvalThreadId;

// ---- Structural terms (add their values to what callbacks returned) ----
void MXLINevalFC(const MXLIN &lin, const double *x, double *obj, double *c);
void MXLINevalGA(const MXLIN &lin, double *objGrad, double *jac);
void MXLINevalR(const MXLIN &lin, const double *x, double *rsd);
void MXLINevalRJ(const MXLIN &lin, double *rsdJac);
void MXQUADevalFC(const MXQUAD &quad, const double *x, double *obj, double *c);
void MXQUADevalGA(const MXQUAD &quad, const double *x, double *objGrad, double *jac);
// evalType 3, 8 add into hess; 7, 9 add the product with vec into hessVec.
void MXQUADevalH(const MXQUAD &quad, int evalType, const double *x, double sigma,
                 const double *lambda, const double *vec, double *hess, double *hessVec);
void MXCONICevalFC(const MXCONIC &cone, const double *x, double *c);
void MXCONICevalGA(const MXCONIC &cone, const double *x, double *jac);
void MXCONICevalH(const MXCONIC &cone, int evalType, const double *x, const double *lambda,
                  const double *vec, double *hess, double *hessVec);
// Constants, linear, quadratic and L2-norm terms into obj and c.
void addFCstructures(MXL_context *ctx, const double *x, double *obj, double *c);
void addGAstructures(MXL_context *ctx, const double *x, double *objGrad, double *jac);
void addHstructures(MXL_context *ctx, int evalType, const double *x, double sigma,
                    const double *lambda, const double *vec, double *hess, double *hessVec);

// ---- Callback pipeline: returns 0, -502, -500 or -504 ----
// objGrad and jac non-null ask for the combined evaluation (eval_fcga).
int MXCBevalFC(MXL_context *ctx, MXMOD *model, const double *x, double *obj, double *c,
               double *objGrad, double *jac);
int MXCBevalGA(MXL_context *ctx, MXMOD *model, const double *x, double *objGrad, double *jac);
int MXCBevalH(MXL_context *ctx, MXMOD *model, int evalType, const double *x, const double *sigma,
              const double *lambda, const double *vec, double *hess, double *hessVec);
int MXCBevalR(MXL_context *ctx, MXMOD *model, const double *x, double *rsd);
int MXCBevalRJ(MXL_context *ctx, MXMOD *model, const double *x, double *rsdJac);
// One callback alone, for finite differences: its objective (if any) into
// *obj and its constraint values into c at the callback's own positions.
int MXCBevalFC_one(MXL_context *ctx, MXCB *cb, const double *x, double *obj, double *c);
int MXCBevalR_one(MXL_context *ctx, MXCB *cb, const double *x, double *rsd);
// Maps a routine's return to the pipeline's marks.
int mxCombineCodes(bool stop, bool failure, bool evalError);

// ---- The layer the algorithms call ----
// A fresh solve: clears the counters, the stop mark and the point state.
void mxEvalStartSolve(MXL_context *ctx);
// Values at x into obj and c (m); with eval_fcga also objGrad (n) and jac
// (merged Jacobian) when those are non-null. Returns 0 or a negative code.
int callbackForFC(MXL_context *ctx, int wantStructures, const double *x, double *obj, double *c,
                  double *objGrad, double *jac);
int callbackForGA(MXL_context *ctx, const double *x, double *objGrad, double *jac);
int callbackForFCGA(MXL_context *ctx, const double *x, double *obj, double *c, double *objGrad,
                    double *jac);
// evalType 3 or 8 into hess (merged Hessian values); 7 or 9 into hessVec (n).
int callbackForH(MXL_context *ctx, int evalType, const double *x, double sigma,
                 const double *lambda, const double *vec, double *hess, double *hessVec);
int callbackForNLSR(MXL_context *ctx, const double *x, double *rsd);
int callbackForNLSJ(MXL_context *ctx, const double *x, double *rsdJac);
int callbackForFinDiffFC(MXL_context *ctx, MXCB *cb, const double *x, double *obj, double *c);
// Runs the new-point hook: 1 to go on, 0 when the solve must end.
int callbackForNewPoint(MXL_context *ctx, const double *x, const double *lambda);
// The multi-start and node hooks, alike: 1 to go on, 0 to end.
int callbackForMsProcess(MXL_context *ctx, const double *x, const double *lambda);
int callbackForMipNode(MXL_context *ctx, const double *x, const double *lambda);
// f and c (unless needFC is 0), then first derivatives, at ctx->var.x into
// ctx->con.c, the objective value *objOut, ctx->var.objGrad and the merged
// Jacobian values. -2 when f or c failed; returnCode -502 when only the
// derivatives failed.
int callbackEvalFCGAatX0(MXL_context *ctx, int *statusOut, int needFC, double *objOut);

// Linear solver hook. Returns 0 on success, 1 when the routine handed the
// system back in the first phase; other failures unwind with -522.
int MXCBlinsolver(MXL_context *ctx, MX_linsys_request *request, MX_linsys_result *result,
                  int needNegeig);
[[noreturn]] void handleLinSolverCBError(MXL_context *ctx, int linsysID);
