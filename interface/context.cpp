// Creation, copying and destruction of contexts.
#include <cstdio>
#include <new>

#include "driver/print.h"
#include "interface/frame.h"
#include "interface/structures.h"

MXMOD::MXMOD(MXL_context *o) : owner(o) {}
MXMOD::~MXMOD() = default;

MXL_context::MXL_context() = default;
MXL_context::~MXL_context() { magic = 0; }

void reset_nonuser_params_to_defaults(MXL_context *ctx) {
  ctx->resolvedAlgorithm = 0;
  ctx->resolvedBarRule = 0;
  ctx->resolvedInitpt = 0;
  ctx->activePenalty = 10.0;
}

static void mx_print_creation_failure(MX_puts *puts, void *userParams, const char *text) {
  if (puts != nullptr) {
    std::string line = std::string(text) + "\n";
    puts(line.c_str(), userParams);
  } else {
    mxl_print_stdout("%s\n", text);
  }
}

MXL_context *mxl_new_basic(MX_puts *puts, void *userParams, void *reserved, int *error) {
  (void)reserved;
  *error = 0;
  MXL_context *ctx = new (std::nothrow) MXL_context();
  if (ctx != nullptr) {
    ctx->timers.reset(new (std::nothrow) MxTimers());
    ctx->output.reset(new (std::nothrow) MxOutputState());
    if (!ctx->timers || !ctx->output) {
      delete ctx;
      ctx = nullptr;
    }
  }
  if (ctx == nullptr) {
    mx_print_creation_failure(puts, userParams,
                              "Out of memory -- cannot create Morvex solver instance.");
    *error = MX_RC_OUT_OF_MEMORY;
    return nullptr;
  }
  ctx->putsCallback = puts;
  ctx->userParams = userParams;
  MXL_reset_params_to_defaults(ctx);
  {
    MxLock lock(ctx->mutex);
    reset_nonuser_params_to_defaults(ctx);
    ctx->status = MX_STATUS_IDLE;
    ctx->rootContext = ctx;
  }
  return ctx;
}

int mx_init(MXL_context *ctx) {
  MxLock lock(ctx->mutex);
  try {
    ctx->model.reset(new MXMOD(ctx));
  } catch (const std::bad_alloc &) {
    mxl_printf(ctx, "ERROR: Out of memory -- cannot create Morvex model instance.\n");
    return -1;
  }
  ctx->modelLayerActive = 1;
  ctx->obj = MxObjective();
  ctx->changeLevel = 0;
  ctx->noInitialX = 1;
  ctx->noInitialLambda = 1;
  ctx->problemLoaded = 1;
  ctx->n = ctx->m = ctx->r = 0;
  return 0;
}

void mxl_destroy(MXL_context *ctx) { delete ctx; }

MXL_context *MXL_new_puts_subproblem(MXL_context *parent, MX_puts *puts, void *params,
                                     void *output, int kind) {
  (void)output;
  int error = 0;
  MXL_context *child = mxl_new_basic(puts, params, nullptr, &error);
  if (child == nullptr) return nullptr;
  child->subproblemKind = kind;
  // The defaults were set before the kind was known; a node subproblem has
  // its own run-time defaults.
  for (int i = 0; i < getNbParamSpecs(); ++i) {
    const MxParamSpec &row = getMorvexParamSpecifications()[i];
    if (row.flags & MX_FLAG_RUNTIME_DEFAULT) resetParamToDefault(child, row);
  }
  if (parent != nullptr) child->rootContext = parent->rootContext;
  return child;
}

MXL_context *mx_new_puts_subproblem(MXL_context *parent, MX_puts *puts, void *params,
                                    void *output, int kind) {
  MXL_context *child = MXL_new_puts_subproblem(parent, nullptr, nullptr, output, kind);
  if (child == nullptr) return nullptr;
  if (mx_init(child) != 0) {
    mxl_destroy(child);
    return nullptr;
  }
  if (puts != nullptr) {
    child->putsCallback = puts;
    child->userParams = params;
  }
  return child;
}

void MXMODcopy(const MXMOD &source, MXMOD &target) {
  target.varsAdded = source.varsAdded;
  target.consAdded = source.consAdded;
  target.objAdded = source.objAdded;
  target.rsdsAdded = source.rsdsAdded;
  target.numVars = source.numVars;
  target.numCons = source.numCons;
  target.numRsds = source.numRsds;
  target.numericGradModes = source.numericGradModes;
  target.someGradExact = source.someGradExact;
  target.constants = source.constants;
  mxStructuresCopy(source, target);
}

void mx_init_copy(const MXL_context &source, MXL_context &target) {
  target.n = source.n;
  target.m = source.m;
  target.r = source.r;
  target.var = source.var;
  target.con = source.con;
  target.rsd = source.rsd;
  target.comp = source.comp;
  target.obj = source.obj;
  target.lambda = source.lambda;
  target.noInitialX = source.noInitialX;
  target.noInitialLambda = source.noInitialLambda;
  target.isLeastSquares = source.isLeastSquares;
  target.isMixedInteger = source.isMixedInteger;
  target.pat = source.pat;
  target.hooks.newpt = source.hooks.newpt;
  target.hooks.newptParams = source.hooks.newptParams;
  target.hooks.linsolver = source.hooks.linsolver;
  target.hooks.linsolverParams = source.hooks.linsolverParams;
  target.eval.finDiffGA = source.eval.finDiffGA;
  target.parentContext = const_cast<MXL_context *>(&source);
}

int mx_copy_problem(MXL_context *source, MXL_context *target, int keepIntegerTypes,
                    int copySolverState) {
  return mx_guard(target, [&]() {
    // A reset block keeps the target's own run-time defaults (a node child's
    // tighter feastol_abs); the user's changes then come on top of it.
    MXL_reset_params_to_defaults(target);
    copyNondefaultOptions(source, target);
    target->opt.hessopt = source->opt.hessopt;
    target->opt.gradopt = source->opt.gradopt;
    target->opt.concurrent_evals = source->opt.concurrent_evals;
    target->resolvedHessopt = source->resolvedHessopt;
    mx_init_copy(*source, *target);
    if (source->model && target->model) MXMODcopy(*source->model, *target->model);
    if (!keepIntegerTypes) {
      std::fill(target->var.type.begin(), target->var.type.end(), MX_VARTYPE_CONTINUOUS);
      target->isMixedInteger = 0;
    }
    target->changeLevel = copySolverState ? -1 : 0;
    return 0;
  });
}
