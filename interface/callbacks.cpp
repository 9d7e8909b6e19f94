// Evaluation callbacks: creation, derivative patterns, settings, and the
// counts read back from them.
//
// A callback's lists and patterns are checked whole before anything is
// stored; dense pattern forms are kept as a form and expanded by the merge,
// so they follow the model when variables are added later.
#include <algorithm>

#include "interface/structure_frame.h"

namespace {

struct MxCbKind {
  bool lsq;
  const char *countName;   // "nC" or "nR"
  const char *listName;    // "indexCons" or "indexRsds"
  const char *fn;
};

void mx_check_cb_count(MXL_context *ctx, const MxCbKind &k, int count, const int *list) {
  const int size = k.lsq ? ctx->r : ctx->m;
  if (count < 0)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of elements %s passed to %s() must be non-negative.\n",
             k.countName, k.fn);
  if (count > size)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of elements %s passed to %s() cannot be greater than %d.\n",
             k.countName, k.fn, size);
  if (count > 0 && list == nullptr)
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", k.listName, k.fn);
}

void mx_check_cb_list(MXL_context *ctx, const MxCbKind &k, int count, const int *list) {
  const int size = k.lsq ? ctx->r : ctx->m;
  std::vector<char> seen(static_cast<size_t>(size), 0);
  for (int j = 0; j < count; ++j) {
    const int i = list[j];
    if (i < 0 || i >= size) {
      if (k.lsq) mx_fatal(ctx, MX_RC_BAD_RSD_INDEX, "ERROR: Residual index %d outside of range.\n", i);
      mxl_printf(ctx, "ERROR: Constraint index %d outside of range.\n", i);
      mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "       The index should be less than %d and non-negative.\n", size);
    }
    if (seen[i]) {
      mxl_printf(ctx, k.lsq ? "ERROR: Residual index %d is specified more than once\n"
                            : "ERROR: Constraint index %d is specified more than once\n", i);
      mx_fatal(ctx, k.lsq ? MX_RC_BAD_RSD_INDEX : MX_RC_BAD_CON_INDEX, "       in the array %s passed to %s().\n",
               k.listName, k.lsq ? "MX_add_lsq_eval_callback" : "MX_add_eval_callback");
    }
    seen[i] = 1;
  }
}

MXCB *mx_new_callback(MXL_context *ctx, const MxCbKind &k, int evalObj, int count, const int *list) {
  MXMOD &mod = *ctx->model;
  try {
    std::unique_ptr<MXCB> cb(new MXCB());
    cb->owner = ctx;
    cb->index = static_cast<int>(mod.callbacks.size());
    cb->isLsq = k.lsq;
    cb->evalObj = k.lsq ? 0 : (evalObj != 0);
    (k.lsq ? cb->numRsds : cb->numCons) = count;
    (k.lsq ? cb->indexRsds : cb->indexCons).assign(list, list + count);
    cb->xRelStepSizes.assign(static_cast<size_t>(ctx->n), 0.0);
    cb->constraintMask.assign(static_cast<size_t>(ctx->m), 0);
    for (int j = 0; !k.lsq && j < count; ++j) cb->constraintMask[list[j]] = 1;
    mod.callbacks.reserve(mod.callbacks.size() + 1);
    mod.callbacks.emplace_back(cb.release());
  } catch (const std::bad_alloc &) {
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Unable to create callback pointer in %s().\n", k.fn);
  }
  return mod.callbacks.back().get();
}

int mx_add_callback(MXL_context *ctx, const MxCbKind &k, int evalObj, int count, const int *list,
                    MX_cb_routine *routine, MX_cb_context_ptr *cb) {
  return mx_guard(ctx, [&]() {
    if (cb != nullptr) *cb = nullptr;
    if (const int rc = mx_enter(ctx, k.fn, 1, 0, 0, k.lsq)) return rc;
    if (mx_restart_check(ctx, k.fn)) return int(MX_RC_ILLEGAL_CALL);
    MxLock lock(ctx->mutex);
    mx_check_cb_count(ctx, k, count, list);
    mx_check_cb_list(ctx, k, count, list);
    if (routine == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, k.lsq ? "ERROR: Residual callback pointer rsdCallback passed to %s() is NULL.\n"
                                              : "ERROR: Function callback pointer funcCallback passed to %s() is NULL.\n", k.fn);
    if (cb == nullptr) mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter cb passed to %s() is NULL.\n", k.fn);
    MXCB *made = mx_new_callback(ctx, k, evalObj, count, list);
    made->funcCallback = routine;
    for (int j = 0; j < count; ++j) (k.lsq ? ctx->rsd.type[list[j]] : ctx->con.type[list[j]]) = MX_CONTYPE_GENERAL;
    if (made->evalObj) {
      ctx->obj.type = MX_OBJTYPE_GENERAL;
      ctx->model->objAdded = 1;
    }
    *cb = made;
    return 0;
  });
}

const MxCbKind kEvalCb{false, "nC", "indexCons", "MX_add_eval_callback"};
const MxCbKind kEvalCbAll{false, "nC", "indexCons", "MX_add_eval_callback_all"};
const MxCbKind kEvalCbOne{false, "nC", "indexCons", "MX_add_eval_callback_one"};
const MxCbKind kLsqCb{true, "nR", "indexRsds", "MX_add_lsq_eval_callback"};
const MxCbKind kLsqCbAll{true, "nR", "indexRsds", "MX_add_lsq_eval_callback_all"};
const MxCbKind kLsqCbOne{true, "nR", "indexRsds", "MX_add_lsq_eval_callback_one"};

template <class F>
int mx_with_all(MXL_context *ctx, bool lsq, F &&f) noexcept {
  std::vector<int> idx;
  try {
    idx = mx_all_indices(ctx, lsq ? mxRsdKind : mxConKind);
  } catch (const std::bad_alloc &) {
    mx_report_out_of_memory(ctx);
    return MX_RC_OUT_OF_MEMORY;
  }
  return f(static_cast<int>(idx.size()), idx.empty() ? nullptr : idx.data());
}

}  // namespace

// The checks that every call on an existing callback makes first. Returns
// -1 to go on.
int mx_cb_prologue(MXL_context *ctx, MXCB *cb, const char *fn, bool beforeSolveOnly) {
  if (const int rc = mx_enter(ctx, fn)) return rc;
  if (cb == nullptr) {
    mxl_printf(ctx, "ERROR: Callback structure cb passed to %s() is NULL.\n", fn);
    mx_fatal(ctx, MX_RC_NULL_POINTER, "       First call MX_add_eval_callback() to define a callback structure.\n");
  }
  if (cb->owner != ctx)
    mx_fatal(ctx, MX_RC_BAD_PARAMINPUT, "ERROR: Callback structure cb passed to %s() belongs to another context.\n", fn);
  if (beforeSolveOnly && mx_restart_check(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  return -1;
}

extern "C" {

MX_EXPORT int MX_add_eval_callback(MX_context_ptr ctx, const int evalObj, const int nC, const int *indexCons,
                                   MX_cb_routine *funcCallback, MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kEvalCb, evalObj, nC, indexCons, funcCallback, cb);
}
MX_EXPORT int MX_add_eval_callback_all(MX_context_ptr ctx, MX_cb_routine *funcCallback, MX_cb_context_ptr *cb) {
  return mx_with_all(ctx, false, [&](int count, const int *idx) {
    return mx_add_callback(ctx, kEvalCbAll, 1, count, idx, funcCallback, cb);
  });
}
MX_EXPORT int MX_add_eval_callback_one(MX_context_ptr ctx, const int indexCon, MX_cb_routine *funcCallback,
                                       MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kEvalCbOne, 0, 1, &indexCon, funcCallback, cb);
}
MX_EXPORT int MX_add_lsq_eval_callback(MX_context_ptr ctx, const int nR, const int *indexRsds,
                                       MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kLsqCb, 0, nR, indexRsds, rsdCallback, cb);
}
MX_EXPORT int MX_add_lsq_eval_callback_all(MX_context_ptr ctx, MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb) {
  return mx_with_all(ctx, true, [&](int count, const int *idx) {
    return mx_add_callback(ctx, kLsqCbAll, 0, count, idx, rsdCallback, cb);
  });
}
MX_EXPORT int MX_add_lsq_eval_callback_one(MX_context_ptr ctx, const int indexRsd, MX_cb_routine *rsdCallback,
                                           MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kLsqCbOne, 0, 1, &indexRsd, rsdCallback, cb);
}

}  // extern "C"

int mx_cb_prologue(MXL_context *ctx, MXCB *cb, const char *fn, bool beforeSolveOnly);

namespace {

void mx_once(MXL_context *ctx, int &flag, const char *what) {
  if (!flag) return;
  mxl_printf(ctx, "ERROR: %s() has already been called for this callback structure,\n", what);
  mx_fatal(ctx, MX_RC_ILLEGAL_CALL, "       and should only be called once.\n");
}

void mx_set_cb_obj_grad_pattern(MXL_context *ctx, MXCB *cb, int nV, const int *vars) {
  if (nV > ctx->n)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of variables passed to %s() must not exceed %d.\n",
             "MX_set_cb_grad", ctx->n);
  if (nV > 0 && vars == nullptr)
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter objGradIndexVars passed to %s() is NULL.\n", "MX_set_cb_grad");
  std::vector<char> seen(static_cast<size_t>(ctx->n), 0);
  for (int k = 0; k < nV; ++k) {
    const int j = vars[k];
    if (j < 0 || j >= ctx->n)
      mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index %d outside of range.\n", j);
    if (seen[j]) {
      mxl_printf(ctx, "ERROR: Variable index %d is specified more than once\n", j);
      mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "       in the array objGradIndexVars passed to MX_add_eval_callback().\n");
    }
    seen[j] = 1;
  }
}

struct MxJacArgs {
  bool lsq;
  nnzint nnz;
  const int *rows, *vars;
};

// Checks a sparse (residual) Jacobian pattern against the callback's list.
void mx_check_cb_jac_pattern(MXL_context *ctx, const MXCB &cb, const MxJacArgs &a, const char *fn) {
  const char *rowWord = a.lsq ? "Residual" : "Constraint";
  const int rows = a.lsq ? ctx->r : ctx->m;
  const int code = a.lsq ? MX_RC_BAD_RSD_INDEX : MX_RC_BAD_CON_INDEX;
  if (a.nnz > 0 && (a.rows == nullptr || a.vars == nullptr))
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n",
             a.rows == nullptr ? (a.lsq ? "jacIndexRsds" : "jacIndexCons") : "jacIndexVars", fn);
  std::vector<char> listed(static_cast<size_t>(rows), 0);
  for (int i : a.lsq ? cb.indexRsds : cb.indexCons) listed[i] = 1;
  for (nnzint k = 0; k < a.nnz; ++k) {
    const long long kk = k;
    const int i = a.rows[k], j = a.vars[k];
    if (i < 0 || i >= rows)
      mx_fatal(ctx, code, "ERROR: %s index %d for sparse Jacobian element %lld outside of range.\n", rowWord, i, kk);
    if (j < 0 || j >= ctx->n)
      mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index %d for sparse Jacobian element %lld outside of range.\n", j, kk);
    if (!listed[i]) {
      mxl_printf(ctx, "ERROR: %s index %d for sparse Jacobian element %lld was not set\n", rowWord, i, kk);
      mx_fatal(ctx, code, a.lsq ? "       as part of the callback through parameter indexRsds passed to MX_add_lsq_eval_callback().\n"
                                : "       as part of the callback through parameter indexCons passed to MX_add_eval_callback().\n");
    }
  }
}

// A Jacobian form from nnzJ: a dense form, or a list of nnzJ entries.
int mx_jac_form(MXL_context *ctx, nnzint nnz, const char *fn) {
  if (nnz == MX_DENSE_ROWMAJOR || nnz == MX_DENSE_COLMAJOR) return static_cast<int>(nnz);
  if (nnz < 0)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of nonzero elements passed to %s() must be non-negative.\n", fn);
  return MX_PATTERN_LIST;
}

void mx_store_grad(MXL_context *ctx, MXCB *cb, int nV, const int *vars, const MxJacArgs &jac, int jacForm,
                   MX_cb_routine *routine) {
  // Everything is copied before the callback is touched, so a failed
  // allocation leaves it as it was.
  std::vector<int> g, jr, jv;
  if (cb->evalObj && nV > 0) g.assign(vars, vars + nV);
  if (cb->numCons > 0 && jacForm == MX_PATTERN_LIST && jac.nnz > 0) {
    jr.assign(jac.rows, jac.rows + jac.nnz);
    jv.assign(jac.vars, jac.vars + jac.nnz);
  }
  if (cb->evalObj) {
    cb->objGradForm = nV == -1 ? MX_PATTERN_DENSE : MX_PATTERN_LIST;
    cb->nnzObjGrad = nV == -1 ? ctx->n : std::max(nV, 0);
    cb->objGradIndexVars.swap(g);
  }
  if (cb->numCons > 0) {
    cb->jacForm = jacForm;
    cb->nnzJ = jacForm == MX_PATTERN_LIST ? jac.nnz : static_cast<nnzint>(cb->numCons) * ctx->n;
    cb->jacIndexCons.swap(jr);
    cb->jacIndexVars.swap(jv);
  }
  cb->gradCallback = routine;
  cb->gradSet = 1;
}

}  // namespace

extern "C" {

MX_EXPORT int MX_set_cb_grad(MX_context_ptr ctx, MX_cb_context_ptr cb, const int nV, const int *objGradIndexVars,
                             const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                             MX_cb_routine *gradCallback) {
  const char *fn = "MX_set_cb_grad";
  return mx_guard(ctx, [&]() {
    const int pre = mx_cb_prologue(ctx, cb, fn, true);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    mx_once(ctx, cb->gradSet, fn);
    if (cb->evalObj && nV < -1)
      mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of variables passed to %s() must be non-negative.\n", fn);
    if (cb->evalObj && nV >= 0) mx_set_cb_obj_grad_pattern(ctx, cb, nV, objGradIndexVars);
    if (!cb->evalObj && nV > 0) {
      mxl_printf(ctx, "WARNING: The objective function is not part of the callback in %s() (evalObj is FALSE),\n", fn);
      mxl_printf(ctx, "         however nV is positive.  The objective gradient sparsity pattern will be ignored.\n");
    }
    const MxJacArgs jac{false, nnzJ, jacIndexCons, jacIndexVars};
    int form = MX_PATTERN_LIST;
    if (cb->numCons > 0) {
      form = mx_jac_form(ctx, nnzJ, fn);
      if (form == MX_PATTERN_LIST) mx_check_cb_jac_pattern(ctx, *cb, jac, fn);
    } else if (nnzJ > 0) {
      mxl_printf(ctx, "WARNING: The constraints are not part of the callback in %s() (nC <= 0),\n", fn);
      mxl_printf(ctx, "         however nnzJ is positive.  The Jacobian sparsity pattern will be ignored.\n");
    }
    mx_store_grad(ctx, cb, nV, objGradIndexVars, jac, form, gradCallback);
    return 0;
  });
}

MX_EXPORT int MX_set_cb_rsd_jac(MX_context_ptr ctx, MX_cb_context_ptr cb, const MX_nnz nnzJ,
                                const int *jacIndexRsds, const int *jacIndexVars, MX_cb_routine *rsdJacCallback) {
  const char *fn = "MX_set_cb_rsd_jac";
  return mx_guard(ctx, [&]() {
    const int pre = mx_cb_prologue(ctx, cb, fn, true);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    mx_once(ctx, cb->rsdJacSet, fn);
    const int form = mx_jac_form(ctx, nnzJ, fn);
    const MxJacArgs jac{true, nnzJ, jacIndexRsds, jacIndexVars};
    if (form == MX_PATTERN_LIST) mx_check_cb_jac_pattern(ctx, *cb, jac, fn);
    std::vector<int> jr, jv;
    if (form == MX_PATTERN_LIST && nnzJ > 0) {
      jr.assign(jacIndexRsds, jacIndexRsds + nnzJ);
      jv.assign(jacIndexVars, jacIndexVars + nnzJ);
    }
    cb->rsdJacForm = form;
    cb->nnzRsdJ = form == MX_PATTERN_LIST ? nnzJ : static_cast<nnzint>(cb->numRsds) * ctx->n;
    cb->rsdJacIndexRsds.swap(jr);
    cb->rsdJacIndexVars.swap(jv);
    cb->rsdJacCallback = rsdJacCallback;
    cb->rsdJacSet = 1;
    return 0;
  });
}

MX_EXPORT int MX_set_cb_hess(MX_context_ptr ctx, MX_cb_context_ptr cb, const MX_nnz nnzH, const int *hessIndexVars1,
                             const int *hessIndexVars2, MX_cb_routine *hessCallback) {
  const char *fn = "MX_set_cb_hess";
  return mx_guard(ctx, [&]() {
    const int pre = mx_cb_prologue(ctx, cb, fn, true);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    mx_once(ctx, cb->hessSet, fn);
    const int form = mx_jac_form(ctx, nnzH, fn);
    if (form == MX_PATTERN_LIST && nnzH > 0 && (hessIndexVars1 == nullptr || hessIndexVars2 == nullptr))
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n",
               hessIndexVars1 == nullptr ? "hessIndexVars1" : "hessIndexVars2", fn);
    for (nnzint k = 0; form == MX_PATTERN_LIST && k < nnzH; ++k) {
      if (hessIndexVars1[k] < 0 || hessIndexVars1[k] >= ctx->n)
        mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index %d in hessIndexVars1[%d] outside of range.\n",
                 hessIndexVars1[k], static_cast<int>(k));
      if (hessIndexVars2[k] < 0 || hessIndexVars2[k] >= ctx->n)
        mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index %d in hessIndexVars2[%d] outside of range.\n",
                 hessIndexVars2[k], static_cast<int>(k));
    }
    std::vector<int> h1, h2;
    if (form == MX_PATTERN_LIST && nnzH > 0) {
      h1.assign(hessIndexVars1, hessIndexVars1 + nnzH);
      h2.assign(hessIndexVars2, hessIndexVars2 + nnzH);
    }
    const nnzint n = ctx->n;
    cb->hessForm = form;
    cb->nnzH = form == MX_PATTERN_LIST ? nnzH : n * (n + 1) / 2;
    cb->hessIndexVars1.swap(h1);
    cb->hessIndexVars2.swap(h2);
    cb->hessCallback = hessCallback;
    cb->hessSet = 1;
    return 0;
  });
}

MX_EXPORT int MX_set_cb_user_params(MX_context_ptr ctx, MX_cb_context_ptr cb, void *userParams) {
  return mx_guard(ctx, [&]() {
    const int pre = mx_cb_prologue(ctx, cb, "MX_set_cb_user_params", false);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    cb->userParams = userParams;
    return 0;
  });
}

MX_EXPORT int MX_set_cb_gradopt(MX_context_ptr ctx, MX_cb_context_ptr cb, const int gradopt) {
  const char *fn = "MX_set_cb_gradopt";
  return mx_guard(ctx, [&]() {
    const int pre = mx_cb_prologue(ctx, cb, fn, false);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    if (gradopt < MX_GRADOPT_EXACT || gradopt > MX_GRADOPT_USER_CENTRAL)
      mx_fatal(ctx, MX_RC_BAD_PARAMINPUT, "ERROR: Value gradopt=%d passed to %s() is invalid.\n", gradopt, fn);
    cb->gradopt = gradopt;
    return 0;
  });
}

MX_EXPORT int MX_set_cb_relstepsizes(MX_context_ptr ctx, MX_cb_context_ptr cb, const int nV, const int *indexVars,
                                     const double *xRelStepSizes) {
  const char *fn = "MX_set_cb_relstepsizes";
  return mx_guard(ctx, [&]() {
    const int pre = mx_cb_prologue(ctx, cb, fn, false);
    if (pre != -1) return pre;
    if (nV == 0) return 0;
    if (nV < 0) mx_fatal(ctx, MX_RC_BAD_SIZE, mxVarKind.countMessage, fn);
    if (nV > ctx->n) mx_fatal(ctx, MX_RC_BAD_SIZE, mxVarKind.exceedMessage, fn, ctx->n);
    if (indexVars == nullptr || xRelStepSizes == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n",
               indexVars == nullptr ? "indexVars" : "xRelStepSizes", fn);
    MxLock lock(ctx->mutex);
    std::vector<char> seen(static_cast<size_t>(ctx->n), 0);
    for (int k = 0; k < nV; ++k) {
      const int j = indexVars[k];
      if (j < 0 || j >= ctx->n) mx_bad_index(ctx, mxVarKind, j);
      if (seen[j]) {
        mxl_printf(ctx, "ERROR: Variable index %d is specified more than once\n", j);
        mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "       in the array indexVars passed to %s().\n", fn);
      }
      seen[j] = 1;
      if (!mx_finite(xRelStepSizes[k])) {
        mxl_printf(ctx, "ERROR: Parameter xRelStepSizes[%d] corresponding to variable %d.\n", k, j);
        mx_fatal(ctx, MX_RC_BAD_PARAMINPUT, "       is undefined.\n");
      }
    }
    for (int k = 0; k < nV; ++k) cb->xRelStepSizes[indexVars[k]] = xRelStepSizes[k];
    return 0;
  });
}
MX_EXPORT int MX_set_cb_relstepsizes_all(MX_context_ptr ctx, MX_cb_context_ptr cb, const double *xRelStepSizes) {
  return mx_call_all(ctx, mxVarKind, [&](int count, const int *idx) {
    return MX_set_cb_relstepsizes(ctx, cb, count, idx, xRelStepSizes);
  });
}
MX_EXPORT int MX_set_cb_relstepsize(MX_context_ptr ctx, MX_cb_context_ptr cb, const int indexVar,
                                    const double xRelStepSize) {
  return MX_set_cb_relstepsizes(ctx, cb, 1, &indexVar, &xRelStepSize);
}

}  // extern "C"

namespace {

// Getters on a callback: failures are reported but not fatal.
template <class T, class Read>
int mx_cb_get(MXL_context *ctx, MXCB *cb, T *out, const char *fn, Read &&read) {
  return mx_guard(ctx, [&]() {
    if (mxl_magic_check(ctx, 0, fn)) return int(MX_RC_BAD_KCPTR);
    if (ctx->fatalError) return int(MX_RC_ILLEGAL_CALL);
    if (cb == nullptr || cb->owner != ctx) {
      mxl_printf(ctx, "ERROR: Callback structure cb passed to %s() is NULL.\n", fn);
      return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
    }
    if (out == nullptr) {
      mxl_printf(ctx, "ERROR: Parameter passed to %s() is NULL.\n", fn);
      return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
    }
    *out = read(*cb);
    return 0;
  });
}

}  // namespace

extern "C" {

MX_EXPORT int MX_get_cb_number_cons(MX_context_ptr ctx, MX_cb_context_ptr cb, int *const numCons) {
  return mx_cb_get(ctx, cb, numCons, "MX_get_cb_number_cons", [](const MXCB &c) { return c.numCons; });
}
MX_EXPORT int MX_get_cb_number_rsds(MX_context_ptr ctx, MX_cb_context_ptr cb, int *const numRsds) {
  return mx_cb_get(ctx, cb, numRsds, "MX_get_cb_number_rsds", [](const MXCB &c) { return c.numRsds; });
}
MX_EXPORT int MX_get_cb_objgrad_nnz(MX_context_ptr ctx, MX_cb_context_ptr cb, MX_nnz *const nnz) {
  return mx_cb_get(ctx, cb, nnz, "MX_get_cb_objgrad_nnz", [&](const MXCB &c) -> MX_nnz {
    return c.objGradForm == MX_PATTERN_DENSE ? ctx->n : c.nnzObjGrad;
  });
}
MX_EXPORT int MX_get_cb_jacobian_nnz(MX_context_ptr ctx, MX_cb_context_ptr cb, MX_nnz *const nnz) {
  return mx_cb_get(ctx, cb, nnz, "MX_get_cb_jacobian_nnz", [&](const MXCB &c) -> MX_nnz {
    return c.jacForm == MX_PATTERN_LIST ? c.nnzJ : static_cast<MX_nnz>(c.numCons) * ctx->n;
  });
}
MX_EXPORT int MX_get_cb_rsd_jacobian_nnz(MX_context_ptr ctx, MX_cb_context_ptr cb, MX_nnz *const nnz) {
  return mx_cb_get(ctx, cb, nnz, "MX_get_cb_rsd_jacobian_nnz", [&](const MXCB &c) -> MX_nnz {
    return c.rsdJacForm == MX_PATTERN_LIST ? c.nnzRsdJ : static_cast<MX_nnz>(c.numRsds) * ctx->n;
  });
}
MX_EXPORT int MX_get_cb_hessian_nnz(MX_context_ptr ctx, MX_cb_context_ptr cb, MX_nnz *const nnz) {
  return mx_cb_get(ctx, cb, nnz, "MX_get_cb_hessian_nnz", [&](const MXCB &c) -> MX_nnz {
    const MX_nnz n = ctx->n;
    return c.hessForm == MX_PATTERN_LIST ? c.nnzH : n * (n + 1) / 2;
  });
}

}  // extern "C"
