// Simplified quasi-minimal residual method (SQMR) for symmetric, possibly
// indefinite systems, with an optional symmetric preconditioner.
#pragma once

struct MXL_context;

struct SqmrParams {
  int printLevel;     // 0 quiet, 1 start and stop, 2 each iteration, 3 vectors too
  int maxit;          // iteration limit
  double rtol;        // stop at ||r|| <= rtol ||b||; not positive: unused
  double atol;        // stop at ||r|| <= atol; not positive: unused
  double rho_tiny;    // breakdown threshold of r' M^{-1} r
  double sigma_tiny;  // breakdown threshold of q' A q
  int stopMode;       // 1 quasi-residual bound, 2 true residual, 3 bound confirmed by the true residual
  int breakdownMode;  // 1 status only, 2 also keep the iterate, 3 also print the breakdown
};

// y := A x (or y := M^{-1} x for the preconditioner).
using SqmrOperator = void (*)(void *user, const double *x, double *y);

struct SqmrInfo {
  int iterations = 0;
  double residual = 0.0;  // ||b - A x||_2 at the end
};

enum SqmrStatus { SQMR_CONVERGED = 0, SQMR_ITERATION_LIMIT = 1, SQMR_RHO_BREAKDOWN = -1,
                  SQMR_SIGMA_BREAKDOWN = -2 };

void sqmr_set_defaults(SqmrParams *p);
// x holds the start on entry and the solution on return. precond may be
// null. Returns a SqmrStatus.
int sqmr_solve(MXL_context *ctx, const SqmrParams &p, int n, SqmrOperator A,
               SqmrOperator precond, void *user, const double *b, double *x, SqmrInfo *info);
