// Fixed cost of a solve on a small model: HS71 built through callbacks and
// run repeatedly. Until the interior-point method exists the run stops after
// the start point (algorithm -2), which measures everything around the
// algorithm: checks, merge, option resolution, evaluation and reports.
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "morvex.h"

namespace {

int fc(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr req, MX_eval_result_ptr res, void *) {
  const double *x = req->x;
  *res->obj = x[0] * x[3] * (x[0] + x[1] + x[2]) + x[2];
  res->c[0] = x[0] * x[1] * x[2] * x[3];
  res->c[1] = x[0] * x[0] + x[1] * x[1] + x[2] * x[2] + x[3] * x[3];
  return 0;
}

int ga(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr req, MX_eval_result_ptr res, void *) {
  const double *x = req->x;
  res->objGrad[0] = x[3] * (2 * x[0] + x[1] + x[2]);
  res->objGrad[1] = x[0] * x[3];
  res->objGrad[2] = x[0] * x[3] + 1;
  res->objGrad[3] = x[0] * (x[0] + x[1] + x[2]);
  res->jac[0] = x[1] * x[2] * x[3];
  res->jac[1] = x[0] * x[2] * x[3];
  res->jac[2] = x[0] * x[1] * x[3];
  res->jac[3] = x[0] * x[1] * x[2];
  for (int j = 0; j < 4; ++j) res->jac[4 + j] = 2 * x[j];
  return 0;
}

MX_context_ptr buildHs71() {
  MX_context_ptr kc = nullptr;
  if (MX_new(&kc) != 0) return nullptr;
  const double lo[4] = {1, 1, 1, 1}, up[4] = {5, 5, 5, 5}, x0[4] = {1, 5, 5, 1};
  const double clo[2] = {25, 40}, cup[2] = {MX_INFINITY, 40};
  const int cons[2] = {0, 1}, objVars[4] = {0, 1, 2, 3};
  const int jc[8] = {0, 0, 0, 0, 1, 1, 1, 1}, jv[8] = {0, 1, 2, 3, 0, 1, 2, 3};
  MX_cb_context_ptr cb = nullptr;
  MX_add_vars(kc, 4, nullptr);
  MX_add_cons(kc, 2, nullptr);
  MX_set_var_lobnds_all(kc, lo);
  MX_set_var_upbnds_all(kc, up);
  MX_set_var_primal_init_values_all(kc, x0);
  MX_set_con_lobnds_all(kc, clo);
  MX_set_con_upbnds_all(kc, cup);
  MX_add_eval_callback(kc, 1, 2, cons, fc, &cb);
  MX_set_cb_grad(kc, cb, 4, objVars, 8, jc, jv, ga);
  MX_set_int_param_by_name(kc, "outlev", 0);
  MX_set_int_param_by_name(kc, "algorithm", -2);
  MX_set_int_param_by_name(kc, "hessopt", 2);
  return kc;
}

}  // namespace

int main(int argc, char **argv) {
  const int runs = argc > 1 ? std::atoi(argv[1]) : 2000;
  // A fresh context per solve, and repeated solves of one context.
  auto t0 = std::chrono::steady_clock::now();
  for (int k = 0; k < runs; ++k) {
    MX_context_ptr kc = buildHs71();
    MX_solve(kc);
    MX_free(&kc);
  }
  auto t1 = std::chrono::steady_clock::now();
  MX_context_ptr kc = buildHs71();
  for (int k = 0; k < runs; ++k) MX_solve(kc);
  auto t2 = std::chrono::steady_clock::now();
  double obj = 0.0;
  int status = 0;
  MX_get_solution(kc, &status, &obj, nullptr, nullptr);
  MX_free(&kc);
  const double fresh = std::chrono::duration<double, std::micro>(t1 - t0).count() / runs;
  const double again = std::chrono::duration<double, std::micro>(t2 - t1).count() / runs;
  std::printf("HS71 start-point run (algorithm -2), %d runs: build+solve+free %.2f us, re-solve %.2f us "
              "(status %d, f = %.1f)\n", runs, fresh, again, status, obj);
  return 0;
}
