#include "interface/return_codes.h"

#include "morvex.h"

#define MX_RC_ROW(macro, meaning) {macro, #macro, meaning}

static const MxReturnCode mxReturnCodes[] = {
    MX_RC_ROW(MX_RC_OPTIMAL_OR_SATISFACTORY, "success; locally optimal or satisfactory solution"),
    MX_RC_ROW(MX_RC_NEAR_OPT, "primal feasible, cannot be improved, appears optimal, dual accuracy not reached"),
    MX_RC_ROW(MX_RC_FEAS_XTOL, "primal feasible; relative change of x below xtol for xtol_iters iterations"),
    MX_RC_ROW(MX_RC_FEAS_NO_IMPROVE, "primal feasible, cannot be improved, dual accuracy not reached"),
    MX_RC_ROW(MX_RC_FEAS_FTOL, "primal feasible; relative change of objective below ftol for ftol_iters feasible iterations"),
    MX_RC_ROW(MX_RC_INFEASIBLE, "convergence to an infeasible point"),
    MX_RC_ROW(MX_RC_INFEAS_XTOL, "infeasible point; relative change of x below xtol"),
    MX_RC_ROW(MX_RC_INFEAS_NO_IMPROVE, "infeasible estimate cannot be improved"),
    MX_RC_ROW(MX_RC_INFEAS_MULTISTART, "multi-start: no primal feasible point found"),
    MX_RC_ROW(MX_RC_INFEAS_CON_BOUNDS, "constraint bounds inconsistent"),
    MX_RC_ROW(MX_RC_INFEAS_VAR_BOUNDS, "variable bounds inconsistent"),
    MX_RC_ROW(MX_RC_UNBOUNDED, "unbounded: feasible iterate with objective magnitude above objrange"),
    MX_RC_ROW(MX_RC_UNBOUNDED_OR_INFEAS, "unbounded or infeasible"),
    MX_RC_ROW(MX_RC_ITER_LIMIT_FEAS, "iteration limit, feasible (mixed-integer: integer feasible point)"),
    MX_RC_ROW(MX_RC_TIME_LIMIT_FEAS, "time limit, feasible (mixed-integer: integer feasible point)"),
    MX_RC_ROW(MX_RC_FEVAL_LIMIT_FEAS, "function evaluation limit, feasible (mixed-integer: integer feasible point)"),
    MX_RC_ROW(MX_RC_MIP_EXH_FEAS, "mixed-integer: all nodes explored, integer feasible point found"),
    MX_RC_ROW(MX_RC_MIP_TERM_FEAS, "mixed-integer: stopped at the first integer feasible point"),
    MX_RC_ROW(MX_RC_MIP_SOLVE_LIMIT_FEAS, "mixed-integer: subproblem solve limit, integer feasible point"),
    MX_RC_ROW(MX_RC_MIP_NODE_LIMIT_FEAS, "mixed-integer: node limit, integer feasible point"),
    MX_RC_ROW(MX_RC_ITER_LIMIT_INFEAS, "iteration limit, infeasible (mixed-integer: none found)"),
    MX_RC_ROW(MX_RC_TIME_LIMIT_INFEAS, "time limit, infeasible (mixed-integer: none found)"),
    MX_RC_ROW(MX_RC_FEVAL_LIMIT_INFEAS, "function evaluation limit, infeasible (mixed-integer: none found)"),
    MX_RC_ROW(MX_RC_MIP_EXH_INFEAS, "mixed-integer: all nodes explored, no integer feasible point"),
    MX_RC_ROW(MX_RC_MIP_SOLVE_LIMIT_INFEAS, "mixed-integer: subproblem solve limit, no integer feasible point"),
    MX_RC_ROW(MX_RC_MIP_NODE_LIMIT_INFEAS, "mixed-integer: node limit, no integer feasible point"),
    MX_RC_ROW(MX_RC_CALLBACK_ERR, "callback error: a user routine failed, is missing, or a child context lost its parent"),
    MX_RC_ROW(MX_RC_LP_SOLVER_ERR, "LP solver failure"),
    MX_RC_ROW(MX_RC_EVAL_ERR, "evaluation error: a callback result was not finite, or evaluation failed"),
    MX_RC_ROW(MX_RC_OUT_OF_MEMORY, "out of memory"),
    MX_RC_ROW(MX_RC_USER_TERMINATION, "termination by the user (a callback asked for it)"),
    MX_RC_ROW(MX_RC_OPEN_FILE_ERR, "a file could not be opened"),
    MX_RC_ROW(MX_RC_BAD_N_OR_F, "bad objective type or goal"),
    MX_RC_ROW(MX_RC_BAD_CONSTRAINT, "bad constraint data or unsupported model form"),
    MX_RC_ROW(MX_RC_BAD_JACOBIAN, "Jacobian defined twice at an index"),
    MX_RC_ROW(MX_RC_BAD_HESSIAN, "Hessian defined twice at an index"),
    MX_RC_ROW(MX_RC_BAD_CON_INDEX, "constraint index out of range, or a general bad index"),
    MX_RC_ROW(MX_RC_BAD_JAC_INDEX, "bad Jacobian index"),
    MX_RC_ROW(MX_RC_BAD_HESS_INDEX, "bad Hessian index"),
    MX_RC_ROW(MX_RC_BAD_CON_BOUND, "bad constraint bound"),
    MX_RC_ROW(MX_RC_BAD_VAR_BOUND, "bad variable bound"),
    MX_RC_ROW(MX_RC_ILLEGAL_CALL, "call not allowed now, or the context is poisoned"),
    MX_RC_ROW(MX_RC_BAD_KCPTR, "bad context pointer: null, or wrong magic"),
    MX_RC_ROW(MX_RC_NULL_POINTER, "null pointer or negative count where data is needed"),
    MX_RC_ROW(MX_RC_BAD_PARAMINPUT, "unknown option, bad option value, bad gradient mode, or bad numeric argument"),
    MX_RC_ROW(MX_RC_LINEAR_SOLVER_ERR, "fatal failure of a factorization engine or linear solver callback"),
    MX_RC_ROW(MX_RC_DERIV_CHECK_FAILED, "derivative check failed"),
    MX_RC_ROW(MX_RC_DERIV_CHECK_TERMINATE, "derivative check finished with derivcheck_terminate at 2"),
    MX_RC_ROW(MX_RC_OVERFLOW_ERR, "tuner: more option combinations than a 64-bit count can hold"),
    MX_RC_ROW(MX_RC_BAD_SIZE, "bad size: a count passed to a call is negative or too large"),
    MX_RC_ROW(MX_RC_BAD_VARIABLE, "bad variable type"),
    MX_RC_ROW(MX_RC_BAD_VAR_INDEX, "variable index out of range"),
    MX_RC_ROW(MX_RC_BAD_OBJECTIVE, "bad objective data; model has both residuals and an objective"),
    MX_RC_ROW(MX_RC_BAD_RSD, "bad residual data"),
    MX_RC_ROW(MX_RC_BAD_RSD_INDEX, "residual index out of range"),
    MX_RC_ROW(MX_RC_INTERNAL_ERROR, "internal error"),
};

const MxReturnCode *mxl_return_codes(int *count) {
  *count = static_cast<int>(sizeof mxReturnCodes / sizeof mxReturnCodes[0]);
  return mxReturnCodes;
}

const MxReturnCode *mxl_find_return_code(int code) {
  for (const MxReturnCode &row : mxReturnCodes)
    if (row.code == code) return &row;
  return nullptr;
}
