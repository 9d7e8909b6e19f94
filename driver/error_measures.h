// Error measures of a point (feasibility, optimality, complementarity) and
// the best point seen in a solve.
//
// The measures work on a view of one side of the model: the model as given
// ("App", filled from the context by errPrepareApp) or the presolved model
// ("Pre", set by presolve; the App view serves while none is set). Bound
// types: 0 none, 1 lower only, 2 upper only, 3 both, 4 fixed; constraint
// types 5 and 6 carry complementarity and cone bookkeeping.
#pragma once

#include <cstdint>
#include <vector>

struct MXL_context;

struct ErrModel {
  int n = 0, m = 0;
  const double *xLo = nullptr, *xUp = nullptr, *cLo = nullptr, *cUp = nullptr;
  const int *varBndType = nullptr, *conBndType = nullptr;
  int numCompPairs = 0;
  const int *compFirst = nullptr, *compSecond = nullptr;
  // User tolerances per item; null when not given.
  const double *varFeasTol = nullptr, *conFeasTol = nullptr, *compFeasTol = nullptr;
  double bndrange = 1e20;
};

// A sparse Jacobian in coordinate form.
struct ErrJacobian {
  int64_t nnz = 0;
  const int *row = nullptr, *col = nullptr;
  const double *val = nullptr;
};

struct MxBestPoint {
  std::vector<double> bestX, bestLambda, bestC, bestG, bestJac;
  double bestFeasErr = 0.0, bestOptErr = 0.0, bestObj = 0.0;
  bool stored = false;
};

// State of this service in the context.
struct MxErrorState {
  std::vector<int> appVarBndType, appConBndType;
  ErrModel app;
  ErrModel pre;
  bool preSet = false;
  double feasScale = 1.0;
  MxBestPoint best;
};

// Bound type of an item; bounds at or beyond bndrange are infinite.
int errBoundType(double lo, double up, double bndrange);
// Fills the App view from the context's arrays (once per solve).
void errPrepareApp(MXL_context *ctx);
const ErrModel &errModelApp(MXL_context *ctx);
const ErrModel &errModelPre(MXL_context *ctx);

double getConFeasTol(MXL_context *ctx, const ErrModel &md, int i);
double getVarFeasTol(MXL_context *ctx, const ErrModel &md, int j);

// Largest bound violation of constraints, variables and complementarity
// pairs; returns the largest of the three.
double getFeasErr(const ErrModel &md, const double *x, const double *c, double *conErr,
                  double *varErr, double *compErr);
double getFeasErrApp(MXL_context *ctx, const double *x, const double *c, double *conErr,
                     double *varErr, double *compErr);
double getFeasErrPre(MXL_context *ctx, const double *x, const double *c, double *conErr,
                     double *varErr, double *compErr);
// Sums of the violations: constraints, variables, and their total.
double getFeaserr1(MXL_context *ctx, const ErrModel &md, const double *x, const double *c,
                   double *conSum, double *varSum);

// Optimality error of the Lagrangian gradient r = g + J' lambda + b, with
// the repair of the bound multipliers lambda[m..m+n) (written back).
// sign: +1 when minimising, -1 when maximising. r is work of n entries.
double getOpterr(MXL_context *ctx, const ErrModel &md, double sign, const double *x,
                 const double *c, const double *g, double *lambda, const ErrJacobian &jac,
                 double *r, double *optErr, double *compErr);
double getCompError(const ErrModel &md, const double *x, const double *c, const double *lambda);
double getAppCompErr(MXL_context *ctx, const double *x, const double *c, const double *lambda);
// ||g + J' lambda + b||_inf without repair.
double getDualFeas(const ErrModel &md, const double *g, const double *lambda,
                   const ErrJacobian &jac, double *r);
double getAppDualFeas(MXL_context *ctx, const double *g, const double *lambda,
                      const ErrJacobian &jac, double *r);

void checkLambdaSign(const ErrModel &md, const double *x, const double *c, double *lambda);
// Multipliers whose sign is wrong by more than tol.
int getNbViolatedDualsSigns(const ErrModel &md, double sign, const double *x, const double *c,
                            const double *lambda, double tol);
int getAppNbViolatedDualsSigns(MXL_context *ctx, double sign, const double *x, const double *c,
                               const double *lambda, double tol);

bool isFeasible(MXL_context *ctx, const ErrModel &md, const double *x, const double *c,
                double feasErr, double tol);

// Best point: null vectors are skipped. Sizes: x n, lambda m + n, c m,
// g n, jac nnzJac.
void storeBestSolution(MXL_context *ctx, const double *x, const double *lambda, const double *c,
                       const double *g, const double *jac, int64_t nnzJac, double feasErr,
                       double optErr, double obj);
void restoreBestSolution(MXL_context *ctx, double *x, double *lambda, double *c, double *g,
                         double *jac, double *feasErr, double *optErr, double *obj);
