// Checks of the model data before a solve: crossed and unusable bounds,
// integrality of integer bounds, bounds beyond bndrange, and the per-variable
// choice of honoring bounds.
#include <cmath>

#include "driver/print.h"
#include "driver/solve.h"
#include "interface/context.h"

namespace {

int mx_count_huge(const std::vector<double> &lo, const std::vector<double> &up, double range) {
  int count = 0;
  auto huge = [range](double b) { return b > -MX_INF && b < MX_INF && std::fabs(b) >= range; };
  for (size_t i = 0; i < lo.size(); ++i) count += huge(lo[i]) + huge(up[i]);
  return count;
}

void mx_warn_huge(MXL_context *ctx, int count, const char *what) {
  if (count == 1) {
    mxl_printf(ctx, "WARNING: %d finite %s bound is >= bndrange in magnitude.\n", count, what);
    mxl_printf(ctx, "         This bound will be treated as infinite in Morvex.\n");
    mxl_printf(ctx, "         To impose as a finite bound, increase bndrange user option.\n");
  } else if (count > 1) {
    mxl_printf(ctx, "WARNING: %d finite %s bounds are >= bndrange in magnitude.\n", count, what);
    mxl_printf(ctx, "         These bounds will be treated as infinite in Morvex.\n");
    mxl_printf(ctx, "         To impose as finite bounds, increase bndrange user option.\n");
  }
}

int mx_crossed(MXL_context *ctx, const char *what, const char *item, int i, double lo, double up, int code) {
  mxl_printf(ctx, "ERROR: Infeasible %s bound specified.\n", what);
  mxl_printf(ctx, "       %s: %s[%d]\n", item, item[0] == 'V' ? "x" : "c", i);
  mxl_printf(ctx, "       upper bound = %24.14e is less than\n", up);
  mxl_printf(ctx, "       lower bound = %24.14e\n", lo);
  return code;
}

// Integer bounds within +-1e9 that are not integral are rounded inwards;
// binary variables with other bounds become integer and vice versa.
void mx_fix_integer_bounds(MXL_context *ctx) {
  MxVarData &v = ctx->var;
  for (int j = 0; j < ctx->n; ++j) {
    const int t = v.type[j];
    if (t != MX_VARTYPE_INTEGER && t != MX_VARTYPE_BINARY) continue;
    double &lo = v.lo[j], &up = v.up[j];
    if (std::fabs(lo) <= 1e9 && lo != std::ceil(lo)) {
      mxl_printf(ctx, "WARNING: Variable x[%d] lower bound is not an integer.\n", j);
      mxl_printf(ctx, "         Tightening from %24.16e to %24.16e\n", lo, std::ceil(lo));
      lo = std::ceil(lo);
    }
    if (std::fabs(up) <= 1e9 && up != std::floor(up)) {
      mxl_printf(ctx, "WARNING: Variable x[%d] upper bound is not an integer.\n", j);
      mxl_printf(ctx, "         Tightening from %24.16e to %24.16e\n", up, std::floor(up));
      up = std::floor(up);
    }
    const bool zeroOne = (lo == 0.0 || lo == 1.0) && (up == 0.0 || up == 1.0);
    if (t == MX_VARTYPE_BINARY && !zeroOne) {
      mxl_printf(ctx, "WARNING: Variable x[%d] passed with the wrong type.\n", j);
      mxl_printf(ctx, "         Changing from MXL_VARTYPE_BINARY to MXL_VARTYPE_INTEGER\n");
      v.type[j] = MX_VARTYPE_INTEGER;
    } else if (t == MX_VARTYPE_INTEGER && lo == 0.0 && up == 1.0) {
      v.type[j] = MX_VARTYPE_BINARY;
    }
  }
}

int mx_bad_bound(MXL_context *ctx, const char *line, int i, double value, int code) {
  mxl_printf(ctx, "ERROR: Infeasible problem specification.\n");
  mxl_printf(ctx, line, i, value);
  return code;
}

}  // namespace

void mxWarnHugeBounds(MXL_context *ctx) {
  const double range = ctx->opt.bndrange;
  mx_warn_huge(ctx, mx_count_huge(ctx->var.lo, ctx->var.up, range), "variable");
  mx_warn_huge(ctx, mx_count_huge(ctx->con.lo, ctx->con.up, range), "constraint");
}

int checkProblemDefinition(MXL_context *ctx, int isMixedInteger) {
  for (int j = 0; j < ctx->n; ++j)
    if (ctx->var.lo[j] > ctx->var.up[j])
      return mx_crossed(ctx, "variable", "Variable", j, ctx->var.lo[j], ctx->var.up[j], MX_RC_INFEAS_VAR_BOUNDS);
  for (int i = 0; i < ctx->m; ++i)
    if (ctx->con.lo[i] > ctx->con.up[i])
      return mx_crossed(ctx, "constraint", "Constraint", i, ctx->con.lo[i], ctx->con.up[i], MX_RC_INFEAS_CON_BOUNDS);
  if (isMixedInteger) mx_fix_integer_bounds(ctx);
  return 0;
}

int checkVarConBounds(MXL_context *ctx) {
  const double range = ctx->opt.bndrange;
  int code = 0;
  for (int j = 0; j < ctx->n && code == 0; ++j) {
    if (ctx->var.lo[j] >= range)
      code = mx_bad_bound(ctx, "       Variable x[%d] has lower bound %g >= bndrange.\n", j, ctx->var.lo[j], MX_RC_BAD_VAR_BOUND);
    else if (ctx->var.up[j] <= -range)
      code = mx_bad_bound(ctx, "       Variable x[%d] has upper bound %g <= -bndrange.\n", j, ctx->var.up[j], MX_RC_BAD_VAR_BOUND);
  }
  for (int i = 0; i < ctx->m && code == 0; ++i) {
    if (ctx->con.lo[i] >= range)
      code = mx_bad_bound(ctx, "       Constraint c[%d] has lower bound %g >= bndrange.\n", i, ctx->con.lo[i], MX_RC_BAD_CON_BOUND);
    else if (ctx->con.up[i] <= -range)
      code = mx_bad_bound(ctx, "       Constraint c[%d] has upper bound %g <= -bndrange.\n", i, ctx->con.up[i], MX_RC_BAD_CON_BOUND);
  }
  if (code == 0) return 0;
  ctx->returnCode = code;
  ctx->status = MX_STATUS_FINISHED;
  if (ctx->subproblemKind == 0) {
    ctx->fatalError = 1;
    return code;
  }
  return MX_RC_INFEASIBLE;
}

void setHonorBnds(MXL_context *ctx) {
  int option = ctx->opt.honorbnds;
  if (option < -1 || option > 2) option = 0;
  MxOptArray<int> &flags = ctx->var.honorBnds;
  int value = option;
  if (!flags.given) {
    flags.v.assign(static_cast<size_t>(ctx->n), option);
  } else {
    for (int f : flags.v) {
      if ((option == -1 || option == 0) && (f == 1 || f == 2)) value = f;
      else if (option == 2 && f == 1) value = 1;
    }
  }
  ctx->resolvedHonorbnds = value;
}
