// Cost of a solve on a small model: HS71 built through callbacks and run
// repeatedly, once stopping after the start point (algorithm -2: everything
// around the algorithm, i.e. checks, merge, option resolution, evaluation and
// reports) and once solved by the interior-point method with exact Hessians.
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

// Upper triangle, row by row: (0,0) (0,1) (0,2) (0,3) (1,1) (1,2) (1,3) (2,2) (2,3) (3,3).
int hess(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr req, MX_eval_result_ptr res, void *) {
  const double *x = req->x, *l = req->lambda, s = *req->sigma;
  double *h = res->hess;
  h[0] = s * 2 * x[3] + 2 * l[1];
  h[1] = s * x[3] + l[0] * x[2] * x[3];
  h[2] = s * x[3] + l[0] * x[1] * x[3];
  h[3] = s * (2 * x[0] + x[1] + x[2]) + l[0] * x[1] * x[2];
  h[4] = 2 * l[1];
  h[5] = l[0] * x[0] * x[3];
  h[6] = s * x[0] + l[0] * x[0] * x[2];
  h[7] = 2 * l[1];
  h[8] = s * x[0] + l[0] * x[0] * x[1];
  h[9] = 2 * l[1];
  return 0;
}

MX_context_ptr buildHs71(int algorithm) {
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
  const int h1[10] = {0, 0, 0, 0, 1, 1, 1, 2, 2, 3}, h2[10] = {0, 1, 2, 3, 1, 2, 3, 2, 3, 3};
  MX_set_cb_hess(kc, cb, 10, h1, h2, hess);
  MX_set_int_param_by_name(kc, "outlev", 0);
  MX_set_int_param_by_name(kc, "algorithm", algorithm);
  return kc;
}

struct Timing {
  double fresh = 0.0, again = 0.0, obj = 0.0;
  int status = 0, iterations = 0;
};

Timing measure(int algorithm, int runs) {
  Timing t;
  auto t0 = std::chrono::steady_clock::now();
  for (int k = 0; k < runs; ++k) {
    MX_context_ptr kc = buildHs71(algorithm);
    MX_solve(kc);
    MX_free(&kc);
  }
  auto t1 = std::chrono::steady_clock::now();
  MX_context_ptr kc = buildHs71(algorithm);
  for (int k = 0; k < runs; ++k) MX_solve(kc);
  auto t2 = std::chrono::steady_clock::now();
  MX_get_solution(kc, &t.status, &t.obj, nullptr, nullptr);
  MX_get_number_iters(kc, &t.iterations);
  MX_free(&kc);
  t.fresh = std::chrono::duration<double, std::micro>(t1 - t0).count() / runs;
  t.again = std::chrono::duration<double, std::micro>(t2 - t1).count() / runs;
  return t;
}

}  // namespace

int main(int argc, char **argv) {
  const int runs = argc > 1 ? std::atoi(argv[1]) : 2000;
  const Timing start = measure(-2, runs);
  std::printf("HS71 start-point run (algorithm -2), %d runs: build+solve+free %.2f us, re-solve %.2f us "
              "(status %d, f = %.1f)\n", runs, start.fresh, start.again, start.status, start.obj);
  const Timing solve = measure(1, runs);
  std::printf("HS71 solve (algorithm 1, exact Hessian), %d runs: build+solve+free %.2f us, re-solve %.2f us "
              "(status %d, f = %.6f, %d iterations)\n", runs, solve.fresh, solve.again, solve.status, solve.obj,
              solve.iterations);
  return 0;
}
