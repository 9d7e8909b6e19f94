/*
 * Morvex: a library for numerical optimization.
 *
 * This is the one public header. It is plain C and may be included from C
 * (C99 or later) and C++. Every call takes the context handle first and
 * returns 0 on success or a negative return code (MX_RC_*).
 *
 * Real values are doubles; MX_INFINITY (the largest finite double) stands
 * for an infinite bound. IEEE infinities and NaNs are refused as data.
 * Indices are 32-bit signed; counts of nonzeros are 64-bit (MX_nnz).
 */
#ifndef MORVEX_H
#define MORVEX_H

#include <stdint.h>

#if defined(MORVEX_BUILDING)
#define MX_EXPORT __attribute__((visibility("default")))
#else
#define MX_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------
 * Handles and basic types
 * ---------------------------------------------------------------------- */
typedef struct MXL_context MXL_context;
typedef MXL_context MX_context;
typedef MX_context *MX_context_ptr;
typedef MXL_context *MXL_context_ptr;

typedef int64_t MX_nnz; /* count of nonzeros, row pointers */

#define MX_INFINITY 1.7976931348623157e308

/* Receives every line of text the library prints when installed; the text
 * is at most 1023 characters. Returns the number of characters taken. */
typedef int MX_puts(const char *str, void *userParams);

/* ------------------------------------------------------------------------
 * Return codes
 * ---------------------------------------------------------------------- */
#define MX_RC_OPTIMAL_OR_SATISFACTORY     0
#define MX_RC_NEAR_OPT                 -100
#define MX_RC_FEAS_XTOL                -101
#define MX_RC_FEAS_NO_IMPROVE          -102
#define MX_RC_FEAS_FTOL                -103
#define MX_RC_INFEASIBLE               -200
#define MX_RC_INFEAS_XTOL              -201
#define MX_RC_INFEAS_NO_IMPROVE        -202
#define MX_RC_INFEAS_MULTISTART        -203
#define MX_RC_INFEAS_CON_BOUNDS        -204
#define MX_RC_INFEAS_VAR_BOUNDS        -205
#define MX_RC_UNBOUNDED                -300
#define MX_RC_UNBOUNDED_OR_INFEAS      -301
#define MX_RC_ITER_LIMIT_FEAS          -400
#define MX_RC_TIME_LIMIT_FEAS          -401
#define MX_RC_FEVAL_LIMIT_FEAS         -402
#define MX_RC_MIP_EXH_FEAS             -403
#define MX_RC_MIP_TERM_FEAS            -404
#define MX_RC_MIP_SOLVE_LIMIT_FEAS     -405
#define MX_RC_MIP_NODE_LIMIT_FEAS      -406
#define MX_RC_ITER_LIMIT_INFEAS        -410
#define MX_RC_TIME_LIMIT_INFEAS        -411
#define MX_RC_FEVAL_LIMIT_INFEAS       -412
#define MX_RC_MIP_EXH_INFEAS           -413
#define MX_RC_MIP_SOLVE_LIMIT_INFEAS   -415
#define MX_RC_MIP_NODE_LIMIT_INFEAS    -416
#define MX_RC_CALLBACK_ERR             -500
#define MX_RC_LP_SOLVER_ERR            -501
#define MX_RC_EVAL_ERR                 -502
#define MX_RC_OUT_OF_MEMORY            -503
#define MX_RC_USER_TERMINATION         -504
#define MX_RC_OPEN_FILE_ERR            -505
#define MX_RC_BAD_N_OR_F               -506
#define MX_RC_BAD_CONSTRAINT           -507
#define MX_RC_BAD_JACOBIAN             -508
#define MX_RC_BAD_HESSIAN              -509
#define MX_RC_BAD_CON_INDEX            -510
#define MX_RC_BAD_JAC_INDEX            -511
#define MX_RC_BAD_HESS_INDEX           -512
#define MX_RC_BAD_CON_BOUND            -513
#define MX_RC_BAD_VAR_BOUND            -514
#define MX_RC_ILLEGAL_CALL             -515
#define MX_RC_BAD_KCPTR                -516
#define MX_RC_NULL_POINTER             -517
#define MX_RC_BAD_PARAMINPUT           -521
#define MX_RC_LINEAR_SOLVER_ERR        -522
#define MX_RC_DERIV_CHECK_FAILED       -523
#define MX_RC_DERIV_CHECK_TERMINATE    -524
#define MX_RC_OVERFLOW_ERR             -525
#define MX_RC_BAD_SIZE                 -526
#define MX_RC_BAD_VARIABLE             -527
#define MX_RC_BAD_VAR_INDEX            -528
#define MX_RC_BAD_OBJECTIVE            -529
#define MX_RC_BAD_RSD                  -531
#define MX_RC_BAD_RSD_INDEX            -532
#define MX_RC_INTERNAL_ERROR           -600

/* ------------------------------------------------------------------------
 * Values of per-item data
 * ---------------------------------------------------------------------- */
#define MX_OBJGOAL_MINIMIZE 0
#define MX_OBJGOAL_MAXIMIZE 1

#define MX_OBJTYPE_NONE     -1
#define MX_OBJTYPE_GENERAL   0
#define MX_OBJTYPE_LINEAR    1
#define MX_OBJTYPE_QUADRATIC 2

#define MX_CONTYPE_NONE     -1
#define MX_CONTYPE_GENERAL   0
#define MX_CONTYPE_LINEAR    1
#define MX_CONTYPE_QUADRATIC 2
#define MX_CONTYPE_CONIC     3

#define MX_VARTYPE_CONTINUOUS 0
#define MX_VARTYPE_INTEGER    1
#define MX_VARTYPE_BINARY     2

#define MX_VAR_LINEAR 1 /* variable property bit: appears only linearly */

#define MX_OBJ_CONVEX    1 /* property bits of the objective and constraints */
#define MX_OBJ_NONCONVEX 2
#define MX_CON_CONVEX    1
#define MX_CON_NONCONVEX 2

#define MX_HONORBNDS_AUTO   -1
#define MX_HONORBNDS_NO      0
#define MX_HONORBNDS_ALWAYS  1
#define MX_HONORBNDS_INITPT  2

#define MX_CCTYPE_VAR 0 /* complementarity of two non-negative variables */

#define MX_MIP_INTVAR_STRATEGY_NONE  0
#define MX_MIP_INTVAR_STRATEGY_RELAX 1
#define MX_MIP_INTVAR_STRATEGY_MPEC  2

/* ------------------------------------------------------------------------
 * Context (create, free, release)
 * ---------------------------------------------------------------------- */

/* Creates a context with an empty model. Returns 0, or -503 with *handle
 * set to NULL when memory runs out. */
MX_EXPORT int MX_new(MX_context_ptr *handle);

/* Frees the context and sets *handle to NULL. A NULL handle prints a
 * warning and returns -516; a NULL *handle returns -516 quietly. */
MX_EXPORT int MX_free(MX_context_ptr *handle);

/* Older family: a context without the model layer (no MX_ model calls). */
MX_EXPORT MXL_context_ptr MXL_new(void);
MX_EXPORT int MXL_free(MXL_context_ptr *handle);

/* Writes "Morvex X.Y.Z" cut to length characters plus a terminating zero:
 * buffer must hold length + 1 characters. length < 1 returns -521. */
MX_EXPORT int MX_get_release(const int length, char *const buffer);

/* @@OPTION-IDS@@ */

/* @@OPTION-CALLS@@ */

/* @@MODEL-CALLS@@ */

#ifdef __cplusplus
}
#endif

#endif /* MORVEX_H */
