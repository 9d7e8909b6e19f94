/* Builds a small nonlinear model whose nonlinear parts come from a user
 * callback, evaluates it at the start point (algorithm -2) and prints what
 * the accessors report: objective, constraint values, gradient and
 * Jacobian.
 *
 *   minimize    (x0 - 1)^2 + x0 x1 + 0.5 x1      (callback + linear)
 *   subject to  x0^2 + x1^2 <= 4                  (callback)
 *               x0 + 2 x1   >= 1                  (linear)
 *   start       x = (2, 1)
 */
#include <stdio.h>
#include <stdlib.h>

#include "morvex.h"

#define CHECK(call)                                       \
  do {                                                    \
    int rc_ = (call);                                     \
    if (rc_ != 0) {                                       \
      fprintf(stderr, "%s failed with %d\n", #call, rc_); \
      return 1;                                           \
    }                                                     \
  } while (0)

static int eval_fc(MX_context_ptr kc, MX_cb_context_ptr cb, MX_eval_request_ptr req,
                   MX_eval_result_ptr res, void *userParams) {
  const double *x = req->x;
  (void)kc, (void)cb, (void)userParams;
  *res->obj = (x[0] - 1.0) * (x[0] - 1.0) + x[0] * x[1];
  res->c[0] = x[0] * x[0] + x[1] * x[1];
  return 0;
}

/* Gradient over variables {0, 1}; Jacobian entries (0,0), (0,1). */
static int eval_ga(MX_context_ptr kc, MX_cb_context_ptr cb, MX_eval_request_ptr req,
                   MX_eval_result_ptr res, void *userParams) {
  const double *x = req->x;
  (void)kc, (void)cb, (void)userParams;
  res->objGrad[0] = 2.0 * (x[0] - 1.0) + x[1];
  res->objGrad[1] = x[0];
  res->jac[0] = 2.0 * x[0];
  res->jac[1] = 2.0 * x[1];
  return 0;
}

static int build(MX_context_ptr kc) {
  const int vars[2] = {0, 1}, jacCons[2] = {0, 0}, linVars[2] = {0, 1};
  const double start[2] = {2.0, 1.0}, linCoefs[2] = {1.0, 2.0};
  const int callbackCons[1] = {0};
  MX_cb_context_ptr cb = NULL;
  CHECK(MX_add_vars(kc, 2, NULL));
  CHECK(MX_add_cons(kc, 2, NULL));
  CHECK(MX_set_var_primal_init_values_all(kc, start));
  CHECK(MX_set_con_upbnd(kc, 0, 4.0));
  CHECK(MX_set_con_lobnd(kc, 1, 1.0));
  CHECK(MX_add_obj_linear_term(kc, 1, 0.5));
  CHECK(MX_add_con_linear_struct_one(kc, 2, 1, linVars, linCoefs));
  CHECK(MX_add_eval_callback(kc, 1, 1, callbackCons, eval_fc, &cb));
  CHECK(MX_set_cb_grad(kc, cb, 2, vars, 2, jacCons, vars, eval_ga));
  return 0;
}

static int report(MX_context_ptr kc) {
  int status = 0, k;
  double obj = 0.0, c[2], grad[2];
  MX_nnz nnz = 0;
  int rows[8], cols[8];
  double jac[8];
  CHECK(MX_get_solution(kc, &status, &obj, NULL, NULL));
  CHECK(MX_get_con_values_all(kc, c));
  CHECK(MX_get_objgrad_values_all(kc, grad));
  CHECK(MX_get_jacobian_nnz(kc, &nnz));
  if (nnz > 8) return 1;
  CHECK(MX_get_jacobian_values(kc, rows, cols, jac));
  printf("status = %d\n", status);
  printf("f      = %.6f\n", obj);
  printf("c      = %.6f %.6f\n", c[0], c[1]);
  printf("grad f = %.6f %.6f\n", grad[0], grad[1]);
  for (k = 0; k < (int)nnz; ++k) printf("J(%d,%d) = %.6f\n", rows[k], cols[k], jac[k]);
  return 0;
}

int main(void) {
  MX_context_ptr kc = NULL;
  int rc;
  if (MX_new(&kc) != 0) return 1;
  rc = build(kc);
  if (rc == 0) rc = MX_set_int_param(kc, MX_PARAM_ALGORITHM, -2);
  if (rc == 0) rc = MX_set_int_param(kc, MX_PARAM_OUTLEV, 0);
  if (rc == 0) rc = MX_solve(kc);
  if (rc == 0) rc = report(kc);
  MX_free(&kc);
  return rc == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
