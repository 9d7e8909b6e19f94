// Builds a test problem through the public calls and checks a solution.
#include "hs/hs_build.h"

#include <algorithm>
#include <cmath>
#include <exception>

namespace {

HsEval hsRun(const HsProblem &p, const double *x, double sigma, const double *lambda) {
  HsEval e;
  e.x = x;
  e.sigma = sigma;
  e.lambda = lambda;
  e.c.assign(static_cast<size_t>(p.m), 0.0);
  if (p.eval != nullptr) p.eval(e);
  return e;
}

bool hasBound(double b) { return std::fabs(b) < HS_INF; }

}  // namespace

HsDense hsEvaluate(const HsProblem &p, const double *x, double sigma, const double *lambda) {
  const HsEval e = hsRun(p, x, sigma, lambda);
  const size_t n = static_cast<size_t>(p.n);
  HsDense d;
  d.f = e.f + p.objConstant;
  d.c = e.c;
  d.g.assign(n, 0.0);
  d.J.assign(static_cast<size_t>(p.m) * n, 0.0);
  d.H.assign(n * n, 0.0);
  for (const HsEntry &t : e.grad) d.g[t.j] += t.v;
  for (const HsEntry &t : e.jac) d.J[t.i * n + t.j] += t.v;
  for (const HsEntry &t : e.hess) {
    d.H[t.i * n + t.j] += t.v;
    if (t.i != t.j) d.H[t.j * n + t.i] += t.v;
  }
  for (const HsLinear &l : p.linear) {
    if (l.row < 0) {
      d.f += l.coef * x[l.var];
      d.g[l.var] += l.coef;
    } else {
      d.c[l.row] += l.coef * x[l.var];
      d.J[l.row * n + l.var] += l.coef;
    }
  }
  return d;
}

HsPattern hsProbePattern(const HsProblem &p) {
  HsPattern pat;
  pat.conAt.assign(static_cast<size_t>(p.m), -1);
  if (p.eval == nullptr) return pat;
  const std::vector<double> ones(static_cast<size_t>(p.m) + 1, 1.0);
  const HsEval e = hsRun(p, p.x0.data(), 1.0, ones.data());
  for (const HsEntry &t : e.grad) pat.gradAt[{0, t.j}] = 0;
  for (const HsEntry &t : e.jac) pat.jacAt[{t.i, t.j}] = 0;
  for (const HsEntry &t : e.hess) pat.hessAt[{t.i, t.j}] = 0;
  pat.obj = !pat.gradAt.empty();
  for (auto &kv : pat.gradAt) {
    kv.second = static_cast<int>(pat.gradVars.size());
    pat.gradVars.push_back(kv.first.second);
  }
  for (auto &kv : pat.jacAt) {
    kv.second = static_cast<int>(pat.jacRows.size());
    pat.jacRows.push_back(kv.first.first);
    pat.jacVars.push_back(kv.first.second);
    if (pat.conAt[kv.first.first] < 0) {
      pat.conAt[kv.first.first] = static_cast<int>(pat.cons.size());
      pat.cons.push_back(kv.first.first);
    }
  }
  for (auto &kv : pat.hessAt) {
    kv.second = static_cast<int>(pat.hessRows.size());
    pat.hessRows.push_back(kv.first.first);
    pat.hessCols.push_back(kv.first.second);
  }
  return pat;
}

namespace {

// Adds entries into out by their pattern position; false when an entry is
// outside the pattern, which would be a fault of the routine.
bool hsScatter(const std::vector<HsEntry> &entries, const std::map<std::pair<int, int>, int> &at,
               double *out, size_t size) {
  std::fill(out, out + size, 0.0);
  for (const HsEntry &t : entries) {
    const auto it = at.find({t.i, t.j});
    if (it == at.end()) return false;
    out[it->second] += t.v;
  }
  return true;
}

int hsServe(const HsModel &m, MX_eval_request_ptr q, MX_eval_result_ptr r) {
  const HsProblem &p = *m.problem;
  const HsPattern &pat = m.pattern;
  const int t = q->type;
  const bool first = t == MX_EVALTYPE_GA || t == MX_EVALTYPE_FCGA;
  const bool values = t == MX_EVALTYPE_FC || t == MX_EVALTYPE_FCGA;
  const bool hess = t == MX_EVALTYPE_H || t == MX_EVALTYPE_H_NO_F;
  const bool hv = t == MX_EVALTYPE_HV || t == MX_EVALTYPE_HV_NO_F;
  if (!first && !values && !hess && !hv) return -1;
  const double sigma = (hess || hv) && q->sigma != nullptr ? *q->sigma : 1.0;
  const HsEval e = hsRun(p, q->x, sigma, hess || hv ? q->lambda : nullptr);
  if (values) {
    if (pat.obj && r->obj != nullptr) *r->obj = e.f;
    for (size_t k = 0; k < pat.cons.size(); ++k) r->c[k] = e.c[pat.cons[k]];
  }
  if (first) {
    if (pat.obj && !hsScatter(e.grad, pat.gradAt, r->objGrad, pat.gradVars.size())) return -1;
    if (!hsScatter(e.jac, pat.jacAt, r->jac, pat.jacRows.size())) return -1;
  }
  if (hess && !hsScatter(e.hess, pat.hessAt, r->hess, pat.hessRows.size())) return -1;
  if (hv) {
    std::fill(r->hessVec, r->hessVec + p.n, 0.0);
    for (const HsEntry &h : e.hess) {
      r->hessVec[h.i] += h.v * q->vec[h.j];
      if (h.i != h.j) r->hessVec[h.j] += h.v * q->vec[h.i];
    }
  }
  return 0;
}

// Records the first failing call.
struct HsSteps {
  HsModel &m;
  bool ok(int rc, const char *call) {
    if (rc != 0 && m.buildRc == 0) {
      m.buildRc = rc;
      m.failedCall = call;
    }
    return m.buildRc == 0;
  }
};

void hsAddBounds(const HsProblem &p, HsSteps &s) {
  MX_context_ptr kc = s.m.kc;
  if (!p.xlo.empty()) s.ok(MX_set_var_lobnds_all(kc, p.xlo.data()), "MX_set_var_lobnds_all");
  if (!p.xup.empty()) s.ok(MX_set_var_upbnds_all(kc, p.xup.data()), "MX_set_var_upbnds_all");
  if (p.m == 0) return;
  s.ok(MX_set_con_lobnds_all(kc, p.clo.data()), "MX_set_con_lobnds_all");
  s.ok(MX_set_con_upbnds_all(kc, p.cup.data()), "MX_set_con_upbnds_all");
}

void hsAddLinear(const HsProblem &p, HsSteps &s) {
  std::vector<int> ov, cr, cv;
  std::vector<double> oc, cc;
  for (const HsLinear &l : p.linear) {
    if (l.row < 0) {
      ov.push_back(l.var);
      oc.push_back(l.coef);
    } else {
      cr.push_back(l.row);
      cv.push_back(l.var);
      cc.push_back(l.coef);
    }
  }
  MX_context_ptr kc = s.m.kc;
  if (!ov.empty())
    s.ok(MX_add_obj_linear_struct(kc, static_cast<MX_nnz>(ov.size()), ov.data(), oc.data()),
         "MX_add_obj_linear_struct");
  if (!cr.empty())
    s.ok(MX_add_con_linear_struct(kc, static_cast<MX_nnz>(cr.size()), cr.data(), cv.data(), cc.data()),
         "MX_add_con_linear_struct");
  if (p.objConstant != 0.0) s.ok(MX_add_obj_constant(kc, p.objConstant), "MX_add_obj_constant");
}

void hsAddCallback(HsSteps &s) {
  HsModel &m = s.m;
  const HsPattern &pat = m.pattern;
  if (m.problem->eval == nullptr || (!pat.obj && pat.cons.empty())) return;
  MX_cb_context_ptr cb = nullptr;
  const int nC = static_cast<int>(pat.cons.size());
  if (!s.ok(MX_add_eval_callback(m.kc, pat.obj ? 1 : 0, nC, pat.cons.data(), hsCallback, &cb),
            "MX_add_eval_callback"))
    return;
  s.ok(MX_set_cb_user_params(m.kc, cb, &m), "MX_set_cb_user_params");
  s.ok(MX_set_cb_grad(m.kc, cb, static_cast<int>(pat.gradVars.size()), pat.gradVars.data(),
                      static_cast<MX_nnz>(pat.jacRows.size()), pat.jacRows.data(), pat.jacVars.data(),
                      hsCallback),
       "MX_set_cb_grad");
  s.ok(MX_set_cb_hess(m.kc, cb, static_cast<MX_nnz>(pat.hessRows.size()), pat.hessRows.data(),
                      pat.hessCols.data(), hsCallback),
       "MX_set_cb_hess");
}

}  // namespace

int hsCallback(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr q, MX_eval_result_ptr r,
               void *user) {
  try {
    return hsServe(*static_cast<const HsModel *>(user), q, r);
  } catch (const std::exception &) {
    return -1;  // no exception may cross into the library
  }
}

std::unique_ptr<HsModel> hsBuild(const HsProblem &p, const HsOptions &opt) {
  std::unique_ptr<HsModel> m(new HsModel);
  m->problem = &p;
  m->pattern = hsProbePattern(p);
  HsSteps s{*m};
  if (!s.ok(MX_new(&m->kc), "MX_new")) return m;
  s.ok(MX_add_vars(m->kc, p.n, nullptr), "MX_add_vars");
  if (p.m > 0) s.ok(MX_add_cons(m->kc, p.m, nullptr), "MX_add_cons");
  hsAddBounds(p, s);
  s.ok(MX_set_var_primal_init_values_all(m->kc, p.x0.data()), "MX_set_var_primal_init_values_all");
  s.ok(MX_set_obj_goal(m->kc, MX_OBJGOAL_MINIMIZE), "MX_set_obj_goal");
  hsAddLinear(p, s);
  hsAddCallback(s);
  s.ok(MX_set_int_param(m->kc, MX_PARAM_OUTLEV, 0), "MX_set_int_param(outlev)");
  for (const auto &o : opt.ints) s.ok(MX_set_int_param(m->kc, o.first, o.second), "MX_set_int_param");
  for (const auto &o : opt.dbls)
    s.ok(MX_set_double_param(m->kc, o.first, o.second), "MX_set_double_param");
  for (const auto &o : opt.strs)
    s.ok(MX_set_char_param(m->kc, o.first, o.second.c_str()), "MX_set_char_param");
  return m;
}

HsSolution hsSolve(HsModel &model) {
  const HsProblem &p = *model.problem;
  HsSolution s;
  s.x.assign(static_cast<size_t>(p.n), 0.0);
  s.lambda.assign(static_cast<size_t>(p.m + p.n), 0.0);
  if (model.buildRc != 0) {
    s.rc = model.buildRc;
    return s;
  }
  s.rc = MX_solve(model.kc);
  int status = 0;
  const int got = MX_get_solution(model.kc, &status, &s.f, s.x.data(), s.lambda.data());
  if (got != 0) s.rc = got;
  MX_get_number_iters(model.kc, &s.iters);
  MX_get_number_cg_iters(model.kc, &s.cgIters);
  MX_get_number_H_evals(model.kc, &s.hessEvals);
  MX_get_number_HV_evals(model.kc, &s.hessVecEvals);
  return s;
}

namespace {

// Violation of lo <= v <= up, over max(1, |bound|).
double hsViolation(double v, double lo, double up) {
  double err = 0.0;
  if (hasBound(lo) && v < lo) err = (lo - v) / std::max(1.0, std::fabs(lo));
  if (hasBound(up) && v > up) err = std::max(err, (v - up) / std::max(1.0, std::fabs(up)));
  return err;
}

// |lambda| times the distance to the bound its sign names, on the feasible
// side: a point past its bound (within the feasibility tolerance) violates
// feasibility, which hsViolation measures, not complementarity.
double hsComplementarity(double v, double lo, double up, double lambda) {
  if (lambda < 0.0) return hasBound(lo) ? -lambda * std::max(v - lo, 0.0) : -lambda;
  if (lambda > 0.0) return hasBound(up) ? lambda * std::max(up - v, 0.0) : lambda;
  return 0.0;
}

double hsBound(const std::vector<double> &b, int j, double none) {
  return b.empty() ? none : b[j];
}

}  // namespace

HsKkt hsKktCheck(const HsProblem &p, const double *x, const double *lambda) {
  const HsDense d = hsEvaluate(p, x);
  const size_t n = static_cast<size_t>(p.n);
  std::vector<double> r = d.g;
  double gmax = 0.0;
  for (double g : d.g) gmax = std::max(gmax, std::fabs(g));
  const double scale = std::max(1.0, gmax);
  HsKkt k;
  for (int i = 0; i < p.m; ++i) {
    for (size_t j = 0; j < n; ++j) r[j] += d.J[i * n + j] * lambda[i];
    k.feas = std::max(k.feas, hsViolation(d.c[i], p.clo[i], p.cup[i]));
    k.comp = std::max(k.comp, hsComplementarity(d.c[i], p.clo[i], p.cup[i], lambda[i]));
  }
  for (int j = 0; j < p.n; ++j) {
    const double lo = hsBound(p.xlo, j, -HS_INF), up = hsBound(p.xup, j, HS_INF);
    const double b = lambda[p.m + j];
    r[j] += b;
    k.feas = std::max(k.feas, hsViolation(x[j], lo, up));
    k.comp = std::max(k.comp, hsComplementarity(x[j], lo, up, b));
  }
  for (double v : r) k.stat = std::max(k.stat, std::fabs(v));
  k.stat /= scale;
  k.comp /= scale;
  return k;
}
