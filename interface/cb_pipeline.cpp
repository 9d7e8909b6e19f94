// The callback pipeline: one request to each callback in order, results in
// compact arrays of the callback's own size, scattered into the model's
// arrays at the places the merge recorded.
#include "driver/print.h"
#include "interface/evaluation.h"
#include "interface/structures.h"

thread_local int mxEvalThreadId = 0;

int mxCombineCodes(bool stop, bool failure, bool evalError) {
  if (stop) return MX_RC_USER_TERMINATION;
  if (failure) return MX_RC_CALLBACK_ERR;
  if (evalError) return MX_RC_EVAL_ERR;
  return 0;
}

namespace {

// The marks a routine's return leaves; zero and positive values succeed.
struct MxMarks {
  bool stop = false, failure = false, evalError = false;
  void take(int rc) {
    if (rc >= 0) return;
    if (rc == MX_RC_USER_TERMINATION)
      stop = true;
    else if (rc == MX_RC_EVAL_ERR)
      evalError = true;
    else
      failure = true;
  }
  int code() const { return mxCombineCodes(stop, failure, evalError); }
};

MX_eval_request mx_request(int type, const double *x) {
  MX_eval_request req{};
  req.type = type;
  req.threadID = mxEvalThreadId;
  req.x = x;
  return req;
}

bool mx_exact_gradient(const MXCB &cb) {
  return cb.gradopt == 0 || cb.gradopt == MX_GRADOPT_EXACT || cb.gradopt == MX_GRADOPT_USER_FORWARD ||
         cb.gradopt == MX_GRADOPT_USER_CENTRAL;
}

// Per-callback result arrays, at exactly the callback's sizes.
struct MxCbArrays {
  double obj = 0.0;
  std::vector<double> c, objGrad, jac;
};

void mx_scatter_values(const MXCB &cb, const MxCbArrays &a, double *obj, double *c) {
  if (cb.evalObj) *obj += a.obj;
  for (int k = 0; k < cb.numCons; ++k) c[cb.indexCons[k]] += a.c[k];
}

void mx_scatter_first(const MXCB &cb, const MxCbArrays &a, double *objGrad, double *jac) {
  for (size_t k = 0; k < a.objGrad.size() && k < cb.objGradPlace.size(); ++k) objGrad[cb.objGradPlace[k]] += a.objGrad[k];
  for (size_t k = 0; k < a.jac.size() && k < cb.jacPlace.size(); ++k) jac[cb.jacPlace[k]] += a.jac[k];
}

// Calls the function routine of one callback; with first-derivative
// arrays requested the call is of the combined kind.
int mx_call_fc(MXL_context *ctx, MXCB &cb, const double *x, MxCbArrays &a, bool withFirst) {
  a.obj = 0.0;
  a.c.assign(static_cast<size_t>(cb.numCons), 0.0);
  MX_eval_request req = mx_request(withFirst ? MX_EVALTYPE_FCGA : MX_EVALTYPE_FC, x);
  MX_eval_result res{};
  res.obj = &a.obj;
  res.c = a.c.data();
  if (withFirst) {
    a.objGrad.assign(static_cast<size_t>(cb.evalObj ? cb.nnzObjGrad : 0), 0.0);
    a.jac.assign(static_cast<size_t>(cb.nnzJ), 0.0);
    res.objGrad = a.objGrad.data();
    res.jac = a.jac.data();
  }
  return cb.funcCallback(ctx, &cb, &req, &res, cb.userParams);
}

int mx_call_ga(MXL_context *ctx, MXCB &cb, const double *x, MxCbArrays &a) {
  a.objGrad.assign(static_cast<size_t>(cb.evalObj ? cb.nnzObjGrad : 0), 0.0);
  a.jac.assign(static_cast<size_t>(cb.nnzJ), 0.0);
  MX_eval_request req = mx_request(MX_EVALTYPE_GA, x);
  MX_eval_result res{};
  res.objGrad = a.objGrad.data();
  res.jac = a.jac.data();
  return cb.gradCallback(ctx, &cb, &req, &res, cb.userParams);
}

}  // namespace

int MXCBevalFC(MXL_context *ctx, MXMOD *model, const double *x, double *obj, double *c, double *objGrad,
               double *jac) {
  if (model->callbacks.empty()) return 0;
  MxMarks marks;
  MxCbArrays a;
  const bool fcga = ctx->opt.eval_fcga == 1 && objGrad != nullptr && jac != nullptr;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (cb.isLsq) continue;
    if (cb.funcCallback == nullptr) {
      mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    const bool withFirst = fcga && mx_exact_gradient(cb);
    marks.take(mx_call_fc(ctx, cb, x, a, withFirst));
    mx_scatter_values(cb, a, obj, c);
    if (withFirst) mx_scatter_first(cb, a, objGrad, jac);
  }
  return marks.code();
}

int MXCBevalFC_one(MXL_context *ctx, MXCB *cb, const double *x, double *obj, double *c) {
  if (cb->funcCallback == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
    return MX_RC_CALLBACK_ERR;
  }
  MxCbArrays a;
  MxMarks marks;
  marks.take(mx_call_fc(ctx, *cb, x, a, false));
  *obj = cb->evalObj ? a.obj : 0.0;
  for (int k = 0; k < cb->numCons; ++k) c[cb->indexCons[k]] = a.c[k];
  return marks.code();
}

// Callbacks with difference gradients are left to the finite-difference
// service; with eval_fcga a missing gradient routine is served by the
// combined call of the function routine.
int MXCBevalGA(MXL_context *ctx, MXMOD *model, const double *x, double *objGrad, double *jac) {
  MxMarks marks;
  MxCbArrays a;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (cb.isLsq || !mx_exact_gradient(cb)) continue;
    if (cb.gradCallback != nullptr) {
      marks.take(mx_call_ga(ctx, cb, x, a));
    } else if (ctx->opt.eval_fcga == 1 && cb.funcCallback != nullptr) {
      marks.take(mx_call_fc(ctx, cb, x, a, true));
    } else {
      mxl_printf(ctx, "ERROR: User routine for gradCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    mx_scatter_first(cb, a, objGrad, jac);
  }
  return marks.code();
}

namespace {

// One Hessian request to one callback; a callback whose Hessian pattern is
// empty contributes nothing to the matrix and needs no routine for it.
int mx_call_h(MXL_context *ctx, MXCB &cb, MX_eval_request &req, double *hess, double *hessVec) {
  const bool product = req.type == MX_EVALTYPE_HV || req.type == MX_EVALTYPE_HV_NO_F;
  if (!product && cb.hessSet && cb.nnzH == 0 && cb.hessCallback == nullptr) return 0;
  if (cb.hessCallback == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for hess_callback undefined.\n");
    return MX_RC_CALLBACK_ERR;
  }
  std::vector<double> h(product ? static_cast<size_t>(ctx->n) : static_cast<size_t>(cb.nnzH), 0.0);
  MX_eval_result res{};
  (product ? res.hessVec : res.hess) = h.data();
  const int rc = cb.hessCallback(ctx, &cb, &req, &res, cb.userParams);
  if (product) {
    for (size_t j = 0; j < h.size(); ++j) hessVec[j] += h[j];
    return rc;
  }
  for (size_t k = 0; k < h.size() && k < cb.hessPlace.size(); ++k) hess[cb.hessPlace[k]] += h[k];
  return rc;
}

}  // namespace

int MXCBevalH(MXL_context *ctx, MXMOD *model, int evalType, const double *x, const double *sigma,
              const double *lambda, const double *vec, double *hess, double *hessVec) {
  if (model->callbacks.empty()) return 0;
  if (evalType != 3 && evalType != 7 && evalType != 8 && evalType != 9) return MX_RC_CALLBACK_ERR;
  static const double kNoObjective = 0.0;
  MX_eval_request req = mx_request(evalType, x);
  req.lambda = lambda;
  req.sigma = evalType == 8 || evalType == 9 ? &kNoObjective : sigma;
  req.vec = evalType == 7 || evalType == 9 ? vec : nullptr;
  MxMarks marks;
  for (auto &p : model->callbacks) {
    if (p->isLsq) continue;
    marks.take(mx_call_h(ctx, *p, req, hess, hessVec));
    if (marks.stop || marks.failure) break;
  }
  return marks.code();
}

int MXCBevalR(MXL_context *ctx, MXMOD *model, const double *x, double *rsd) {
  MxMarks marks;
  std::vector<double> values;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (!cb.isLsq) continue;
    if (cb.funcCallback == nullptr) {
      mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    values.assign(static_cast<size_t>(cb.numRsds), 0.0);
    MX_eval_request req = mx_request(MX_EVALTYPE_RSD, x);
    MX_eval_result res{};
    res.rsd = values.data();
    marks.take(cb.funcCallback(ctx, &cb, &req, &res, cb.userParams));
    for (int k = 0; k < cb.numRsds; ++k) rsd[cb.indexRsds[k]] += values[k];
  }
  return marks.code();
}

int MXCBevalR_one(MXL_context *ctx, MXCB *cb, const double *x, double *rsd) {
  if (cb->funcCallback == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
    return MX_RC_CALLBACK_ERR;
  }
  std::vector<double> values(static_cast<size_t>(cb->numRsds), 0.0);
  MX_eval_request req = mx_request(MX_EVALTYPE_RSD, x);
  MX_eval_result res{};
  res.rsd = values.data();
  MxMarks marks;
  marks.take(cb->funcCallback(ctx, cb, &req, &res, cb->userParams));
  for (int k = 0; k < cb->numRsds; ++k) rsd[cb->indexRsds[k]] = values[k];
  return marks.code();
}

int MXCBevalRJ(MXL_context *ctx, MXMOD *model, const double *x, double *rsdJac) {
  MxMarks marks;
  std::vector<double> values;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (!cb.isLsq || cb.gradopt == MX_GRADOPT_FORWARD || cb.gradopt == MX_GRADOPT_CENTRAL) continue;
    if (cb.rsdJacCallback == nullptr) {
      mxl_printf(ctx, "ERROR: User routine for rsdJacCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    values.assign(static_cast<size_t>(cb.nnzRsdJ), 0.0);
    MX_eval_request req = mx_request(MX_EVALTYPE_RSDJAC, x);
    MX_eval_result res{};
    res.rsdJac = values.data();
    marks.take(cb.rsdJacCallback(ctx, &cb, &req, &res, cb.userParams));
    for (size_t k = 0; k < values.size() && k < cb.rsdJacPlace.size(); ++k) rsdJac[cb.rsdJacPlace[k]] += values[k];
  }
  return marks.code();
}
