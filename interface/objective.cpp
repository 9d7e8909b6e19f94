// Objective goal, property, constant, scaling and name.
#include <string>

#include "interface/items.h"

namespace {

// Runs the single-form frame of an objective call: checks, lock, body.
template <class F>
int mx_obj_call(MXL_context *ctx, const char *fn, MxPhase phase, F &&body) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_enter(ctx, fn)) return rc;
    if (phase == MX_BEFORE_SOLVE_ONLY && mx_restart_check(ctx, fn)) return int(MX_RC_ILLEGAL_CALL);
    if (phase == MX_AFTER_SOLVE_ONLY && mx_restart_only(ctx, fn)) return int(MX_RC_ILLEGAL_CALL);
    MxLock lock(ctx->mutex);
    body();
    return 0;
  });
}

void mx_add_obj_constant_locked(MXL_context *ctx, double constant) {
  MxConstantStore &store = ctx->model->constants;
  if (ctx->changeLevel == 0) {
    store.objConstant += constant;
  } else {
    store.objPending += constant;
    store.objPendingSet = true;
  }
}

void mx_check_obj_constant(MXL_context *ctx, double constant, const char *fn) {
  if (!mx_finite(constant))
    mx_fatal(ctx, MX_RC_BAD_OBJECTIVE, "ERROR: Objective constant passed to %s() is undefined.\n", fn);
}

}  // namespace

extern "C" {

MX_EXPORT int MX_set_obj_goal(MX_context_ptr ctx, const int objGoal) {
  return mx_obj_call(ctx, "MX_set_obj_goal", MX_ANY_PHASE, [&]() {
    if (objGoal != MX_OBJGOAL_MINIMIZE && objGoal != MX_OBJGOAL_MAXIMIZE)
      mx_fatal(ctx, MX_RC_BAD_OBJECTIVE, "ERROR: Bad value for objective goal.\n");
    ctx->obj.goal = objGoal;
  });
}

MX_EXPORT int MX_set_obj_property(MX_context_ptr ctx, const int objProperty) {
  const char *fn = "MX_set_obj_property";
  return mx_obj_call(ctx, fn, MX_BEFORE_SOLVE_ONLY, [&]() {
    const unsigned bits = static_cast<unsigned>(objProperty);
    if (bits > 127u) {
      mxl_printf(ctx, "ERROR: Bad value for parameter objProperty passed to %s().\n", fn);
      mx_fatal(ctx, MX_RC_BAD_OBJECTIVE,
               "       The value of objProperty should be less than 127 and non-negative.\n");
    }
    if (bits & 1u)
      ctx->obj.property = 1;
    else if (bits & 2u)
      ctx->obj.property = -1;
  });
}

MX_EXPORT int MX_add_obj_constant(MX_context_ptr ctx, const double constant) {
  const char *fn = "MX_add_obj_constant";
  return mx_obj_call(ctx, fn, MX_ANY_PHASE, [&]() {
    mx_check_obj_constant(ctx, constant, fn);
    mx_add_obj_constant_locked(ctx, constant);
  });
}

MX_EXPORT int MX_del_obj_constant(MX_context_ptr ctx) {
  return mx_obj_call(ctx, "MX_del_obj_constant", MX_AFTER_SOLVE_ONLY, [&]() {
    MxConstantStore &store = ctx->model->constants;
    store.objDelete = true;
    store.objPending = 0.0;
    store.objPendingSet = false;
  });
}

MX_EXPORT int MX_chg_obj_constant(MX_context_ptr ctx, const double constant) {
  const char *fn = "MX_chg_obj_constant";
  return mx_obj_call(ctx, fn, MX_AFTER_SOLVE_ONLY, [&]() {
    mx_check_obj_constant(ctx, constant, fn);
    MxConstantStore &store = ctx->model->constants;
    store.objDelete = true;
    store.objPending = 0.0;
    mx_add_obj_constant_locked(ctx, constant);
  });
}

MX_EXPORT int MX_set_obj_scaling(MX_context_ptr ctx, const double objScaleFactor) {
  return mx_obj_call(ctx, "MX_set_obj_scaling", MX_ANY_PHASE, [&]() {
    if (!mx_finite(objScaleFactor))
      mx_fatal(ctx, MX_RC_BAD_OBJECTIVE, "ERROR: objScaleFactor is undefined.\n");
    if (objScaleFactor <= 0.0) {
      mxl_printf(ctx, "WARNING: objScaleFactor is non-positive.  The default scaling will be used.\n");
      ctx->obj.scaleFactor = 1.0;
      ctx->obj.scaleGiven = false;
      return;
    }
    ctx->obj.scaleFactor = objScaleFactor;
    ctx->obj.scaleGiven = true;
  });
}

MX_EXPORT int MX_set_obj_name(MX_context_ptr ctx, const char *const objName) {
  const char *fn = "MX_set_obj_name";
  return mx_obj_call(ctx, fn, MX_ANY_PHASE, [&]() {
    if (objName == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter objName passed to %s() is NULL.\n", fn);
    ctx->obj.name = objName;
    ctx->obj.hasName = true;
  });
}

}  // extern "C"
