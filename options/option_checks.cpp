// The checks of the options at each solve: values outside their range are
// repaired to the default, and combinations that cannot work are changed,
// each with a warning. No option problem stops a solve.
#include <cmath>

#include "driver/print.h"
#include "interface/context.h"
#include "interface/structures.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

void mxIllegalValueHead(MXL_context *ctx) {
  mxl_printf(ctx, "WARNING:  Detected an illegal value for a user option.\n");
}

bool mxIntOutOfRange(const MxParamSpec &row, int value) {
  return ((row.flags & MX_FLAG_MIN) && value < row.intMin) ||
         ((row.flags & MX_FLAG_MAX) && value > row.intMax);
}

bool mxEnumListed(const MxParamSpec &row, int value) {
  for (int i = 0; i < row.numValues; ++i)
    if (row.values[i].value == value) return true;
  return false;
}

void mxCheckInt(MXL_context *ctx, const MxParamSpec &row) {
  int &value = mxIntSlot(ctx->opt, row);
  const bool bad = row.type == MX_PARAMTYPE_ENUM ? !mxEnumListed(row, value)
                                                 : mxIntOutOfRange(row, value);
  if (!bad) return;
  const int def = getIntParamDefaultValue(row);
  mxIllegalValueHead(ctx);
  mxl_printf(ctx, "          Changing '%s' from %d to %d.\n", row.name, value, def);
  value = def;
}

// The time limits above their maximum are lowered without a word: they are
// capped again below in any case. A NaN is never a legal value.
void mxCheckDouble(MXL_context *ctx, const MxParamSpec &row) {
  double &value = mxDblSlot(ctx->opt, row);
  const bool low = (row.flags & MX_FLAG_MIN) && value < row.dblMin;
  const bool high = (row.flags & MX_FLAG_MAX) && value > row.dblMax;
  if (!low && !high && !std::isnan(value)) return;
  const bool timeLimit = row.apiId == MX_PARAM_MAXTIME_CPU || row.apiId == MX_PARAM_MAXTIME_REAL;
  if (high && timeLimit) {
    value = row.dblMax;
    return;
  }
  const double def = getDblParamDefaultValue(ctx, row);
  mxIllegalValueHead(ctx);
  mxl_printf(ctx, "          Changing '%s' from %g to %g.\n", row.name, value, def);
  value = def;
}

void mxCapTimeLimits(MxOptionBlock &o) {
  o.maxtime_cpu = std::fmin(o.maxtime_cpu, o.ma_maxtime_cpu);
  o.maxtime_real = std::fmin(o.maxtime_real, o.ma_maxtime_real);
  o.maxtime_cpu = std::fmin(o.maxtime_cpu, o.tuner_maxtime_cpu);
  o.maxtime_real = std::fmin(o.maxtime_real, o.tuner_maxtime_real);
  o.maxtime_cpu = std::fmin(o.maxtime_cpu, o.ms_maxtime_cpu);
  o.maxtime_real = std::fmin(o.maxtime_real, o.ms_maxtime_real);
}

// Finite-difference gradients: by the option or by some callback's mode.
bool mxNumericGradients(const MXL_context *ctx) {
  const int modes = ctx->model ? ctx->model->numericGradModes : 0;
  return ctx->opt.gradopt == 2 || ctx->opt.gradopt == 3 || modes != 0;
}

bool mxCentralGradients(const MXL_context *ctx) {
  const int modes = ctx->model ? ctx->model->numericGradModes : 0;
  return ctx->opt.gradopt == 3 || (modes & 2) != 0;
}

bool mxHasCones(const MXL_context *ctx) { return ctx->model && !ctx->model->conics.empty(); }
bool mxBarrier(const MXL_context *ctx) { return ctx->resolvedAlgorithm == 1 || ctx->resolvedAlgorithm == 2; }
bool mxActiveSet(const MXL_context *ctx) { return ctx->resolvedAlgorithm == 3 || ctx->resolvedAlgorithm == 4; }
bool mxHessianProducts(int hessopt) { return hessopt == 4 || hessopt == 5; }

void mxToLbfgs(MXL_context *ctx, const char *firstLine) {
  mxl_printf(ctx, firstLine, ctx->resolvedHessopt);
  ctx->resolvedHessopt = 6;
  mxl_printf(ctx, "         Changing hessopt to %d (LBFGS).\n", ctx->resolvedHessopt);
}

void mxRuleEvalFcga(MXL_context *ctx) {
  if (ctx->opt.eval_fcga != 1 || ctx->resolvedHessopt != 4) return;
  mxl_printf(ctx, "WARNING: Option hessopt=%d not valid when eval_fcga=%d.\n", ctx->resolvedHessopt,
             ctx->opt.eval_fcga);
  ctx->resolvedHessopt = 6;
  mxl_printf(ctx, "         Changing hessopt to %d (LBFGS).\n", ctx->resolvedHessopt);
}

void mxRuleAppleSolver(MXL_context *ctx) {
  if (ctx->resolvedLinsolver != 9) return;
  mxl_printf(ctx, "WARNING: Option linsolver=%d is only available for the Apple Silicon platform MacOS 13+.\n",
             ctx->resolvedLinsolver);
  ctx->resolvedLinsolver = 0;
  mxl_printf(ctx, "         Changing to linsolver=%d.\n", ctx->resolvedLinsolver);
}

void mxRuleCones(MXL_context *ctx) {
  if (!mxHasCones(ctx)) return;
  if (mxActiveSet(ctx)) {
    mxl_printf(ctx, "WARNING: This model has L2 norm (e.g. conic) structure.\n");
    mxl_printf(ctx, "         Switching to Interior/Direct algorithm.\n");
    ctx->resolvedAlgorithm = 1;
  }
  if (mxHessianProducts(ctx->resolvedHessopt))
    mxToLbfgs(ctx, "WARNING: Option hessopt=%d not valid for model with L2 norm structure.\n");
}

void mxRuleHessianProducts(MXL_context *ctx) {
  if (!mxHessianProducts(ctx->resolvedHessopt)) return;
  if (ctx->resolvedAlgorithm == 1) {
    mxl_printf(ctx, "WARNING: Option hessopt=%d not valid for Interior/Direct algorithm.\n",
               ctx->resolvedHessopt);
    mxl_printf(ctx, "         Switching to Interior/CG algorithm.\n");
    ctx->resolvedAlgorithm = 2;
  } else if (ctx->resolvedAlgorithm == 4) {
    mxl_printf(ctx, "WARNING: Option hessopt=%d not valid for Active-Set/SQP algorithm.\n",
               ctx->resolvedHessopt);
    mxl_printf(ctx, "         Switching to Active-Set/CG algorithm.\n");
    ctx->resolvedAlgorithm = 3;
  }
}

void mxRuleActiveSet(MXL_context *ctx) {
  if (!mxActiveSet(ctx)) return;
  if (ctx->opt.linsolver_ooc != 0) {
    mxl_printf(ctx, "WARNING: Option linsolver_ooc=%d not valid for Active-Set algorithms.\n",
               ctx->opt.linsolver_ooc);
    ctx->opt.linsolver_ooc = 0;
    mxl_printf(ctx, "         Setting linsolver_ooc=%d.\n", ctx->opt.linsolver_ooc);
  }
  if (ctx->resolvedFeasible != 0)
    mxl_printf(ctx, "WARNING: Option bar_feasible not valid for Active-Set algorithms.\n");
  const int ls = ctx->resolvedLinsolver;
  if (ls == 7 || ls == 8 || ls == 9) {
    mxl_printf(ctx, "WARNING: Option linsolver=%d not available for Active-Set algorithms.\n", ls);
    mxl_printf(ctx, "         Switching to linsolver=AUTO.\n");
    ctx->resolvedLinsolver = 0;
  }
}

void mxRuleInactiveSolverOptions(MXL_context *ctx) {
  if (ctx->opt.linsolver_inexact > 0 && ctx->resolvedLinsolver != 6)
    mxl_printf(ctx, "WARNING: Option linsolver_inexact=%d is not active for linsolver=%d.\n",
               ctx->opt.linsolver_inexact, ctx->resolvedLinsolver);
  if (ctx->opt.linsolver_ooc > 0 && ctx->resolvedLinsolver != 6)
    mxl_printf(ctx, "WARNING: Option linsolver_ooc=%d is not active for linsolver=%d.\n",
               ctx->opt.linsolver_ooc, ctx->resolvedLinsolver);
}

void mxRuleFiniteDifferences(MXL_context *ctx) {
  if (!mxNumericGradients(ctx)) return;
  const int feasible = ctx->resolvedFeasible;
  if (mxBarrier(ctx) && (feasible == 1 || feasible == 3)) {
    mxl_printf(ctx, "WARNING: Option bar_feasible=%d not guaranteed when using finite difference gradients.\n",
               feasible);
    mxl_printf(ctx, "         Use exact gradients to ensure feasibility stays satisfied.\n");
  }
  if (mxCentralGradients(ctx) && ctx->resolvedHonorbnds == 1) {
    mxl_printf(ctx, "WARNING: Option honorbnds not guaranteed when using central difference gradients.\n");
    mxl_printf(ctx, "         Use exact gradients or forward differences to ensure feasibility.\n");
  }
  if (ctx->resolvedHessopt == 4)
    mxToLbfgs(ctx, "WARNING: Option hessopt=%d not valid when using finite difference gradients.\n");
  if (ctx->opt.derivcheck == 1) {
    mxl_printf(ctx, "WARNING: Unable to perform a derivative check when using finite difference gradients.\n");
    mxl_printf(ctx, "         No derivative check will be performed.\n");
    ctx->opt.derivcheck = 0;
  }
}

void mxRuleDebugWithoutOutput(MXL_context *ctx) {
  if (ctx->opt.outlev != 0 || ctx->opt.debug != 1) return;
  mxl_printf(ctx, "WARNING: Option debug=%d not valid when outlev=%d (debugging turned off).\n",
             ctx->opt.debug, ctx->opt.outlev);
  ctx->opt.debug = 0;
}

void mxRuleMultistartOff(MXL_context *ctx) {
  const MxOptionBlock &o = ctx->opt;
  if (o.ms_enable != 0) return;
  const MxOptionBlock d{};
  const auto unchanged = [](double a, double b) { return optionDoublesEqual(a, b, 1e-12 * std::fmax(1.0, std::fabs(b))); };
  if (o.ms_maxsolves != d.ms_maxsolves)
    mxl_printf(ctx, "WARNING: Option ms_maxsolves was set, but option ms_enable='no'.\n");
  if (!unchanged(o.ms_maxbndrange, d.ms_maxbndrange))
    mxl_printf(ctx, "WARNING: Option ms_maxbndrange was set, but option ms_enable='no'.\n");
  if (!unchanged(o.ms_startptrange, d.ms_startptrange))
    mxl_printf(ctx, "WARNING: Option ms_startptrange was set, but option ms_enable='no'.\n");
  if (o.ms_seed != d.ms_seed)
    mxl_printf(ctx, "WARNING: Option ms_seed was set, but option ms_enable='no'.\n");
}

void mxRuleFeasibleNeedsPenalty(MXL_context *ctx) {
  const int feasible = ctx->resolvedFeasible, penalty = ctx->resolvedPenaltyCons;
  if (!mxBarrier(ctx) || (feasible != 2 && feasible != 3)) return;
  if (penalty != 0 && penalty != 3) return;
  mxl_printf(ctx, "WARNING: Option bar_feasible=%d requires bar_penaltycons=%d (all).\n", feasible, 2);
  ctx->resolvedPenaltyCons = 2;
  mxl_printf(ctx, "         Changing bar_penaltycons to %d.\n", ctx->resolvedPenaltyCons);
}

}  // namespace

void chkspecs(MXL_context *ctx) {
  const MxParamSpec *rows = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i) {
    const MxParamSpec &row = rows[i];
    if (mxParamIsInt(row))
      mxCheckInt(ctx, row);
    else if (row.type == MX_PARAMTYPE_FLOAT)
      mxCheckDouble(ctx, row);
  }
  mxCapTimeLimits(ctx->opt);
}

void chkspecdependencies(MXL_context *ctx) {
  mxRuleEvalFcga(ctx);
  mxRuleAppleSolver(ctx);
  mxRuleCones(ctx);
  mxRuleHessianProducts(ctx);
  mxRuleActiveSet(ctx);
  mxRuleInactiveSolverOptions(ctx);
  mxRuleFiniteDifferences(ctx);
  mxRuleDebugWithoutOutput(ctx);
  mxRuleMultistartOff(ctx);
  mxRuleFeasibleNeedsPenalty(ctx);
}

void chkMSspecdependencies(MXL_context *ctx) { (void)ctx; }

void chkMIPspecdependencies(MXL_context *ctx, int relaxable) {
  const int root = ctx->opt.mip_rootalg;
  if ((root != 2 && root != 3 && root != 4) || relaxable || ctx->opt.mip_gomory <= 0) return;
  mxl_printf(ctx, "WARNING: For MINLP, option mip_gomory=%d requires mip_rootalg=%d.\n",
             ctx->opt.mip_gomory, 1);
  ctx->opt.mip_gomory = 0;
  mxl_printf(ctx, "         Changing mip_gomory to %d.\n", ctx->opt.mip_gomory);
}
