// Building blocks shared by the problem files: each adds one term with its
// first and second derivatives to the objective (row -1) or a constraint.
#pragma once

#include <cmath>
#include <utility>
#include <vector>

#include "hs/hs_problems.h"

namespace hs {

// First derivative of row k (-1: objective) with respect to x_j.
inline void d1(HsEval &e, int k, int j, double v) {
  if (k < 0) e.G(j, v);
  else e.J(k, j, v);
}

// Second derivative of row k; i and j in any order.
inline void d2(HsEval &e, int k, int i, int j, double v) {
  if (i > j) std::swap(i, j);
  if (k < 0) e.Hf(i, j, v);
  else e.Hc(k, i, j, v);
}

inline void val(HsEval &e, int k, double v) {
  if (k < 0) e.f += v;
  else e.c[k] += v;
}

// coef * prod x_idx[t]^pow[t] (distinct indices).
inline void mono(HsEval &e, int k, double coef, const std::vector<int> &id,
                 const std::vector<double> &p) {
  const int q = static_cast<int>(id.size());
  double v = coef;
  for (int t = 0; t < q; ++t) v *= std::pow(e.x[id[t]], p[t]);
  val(e, k, v);
  for (int a = 0; a < q; ++a) {
    const double xa = e.x[id[a]];
    d1(e, k, id[a], v * p[a] / xa);
    d2(e, k, id[a], id[a], v * p[a] * (p[a] - 1.0) / (xa * xa));
    for (int b = a + 1; b < q; ++b) d2(e, k, id[a], id[b], v * p[a] * p[b] / (xa * e.x[id[b]]));
  }
}

// coef * x_i * x_j with i != j.
inline void bilin(HsEval &e, int k, double coef, int i, int j) {
  val(e, k, coef * e.x[i] * e.x[j]);
  d1(e, k, i, coef * e.x[j]);
  d1(e, k, j, coef * e.x[i]);
  d2(e, k, i, j, coef);
}

// coef * (x_i - x_j - shift)^p; j < 0 leaves x_j out. p >= 2.
inline void powdiff(HsEval &e, int k, double coef, int i, int j, double shift, int p) {
  const double d = e.x[i] - (j >= 0 ? e.x[j] : 0.0) - shift;
  val(e, k, coef * std::pow(d, p));
  const double g = coef * p * std::pow(d, p - 1), h = coef * p * (p - 1) * std::pow(d, p - 2);
  d1(e, k, i, g);
  d2(e, k, i, i, h);
  if (j >= 0) {
    d1(e, k, j, -g);
    d2(e, k, i, j, -h);
    d2(e, k, j, j, h);
  }
}

// coef * x_j (a linear term given through the routine).
inline void lin(HsEval &e, int k, double coef, int j) {
  val(e, k, coef * e.x[j]);
  d1(e, k, j, coef);
}

// Product x_0 ... x_{q-1} over the listed variables: value, first and
// second partial derivatives (pij[a][b], a != b), without divisions.
struct Product {
  double p = 1.0;
  std::vector<double> pi;
  std::vector<std::vector<double>> pij;
};

inline Product product(const double *x, const std::vector<int> &id) {
  const size_t q = id.size();
  Product r;
  r.pi.assign(q, 1.0);
  r.pij.assign(q, std::vector<double>(q, 1.0));
  for (size_t t = 0; t < q; ++t) {
    r.p *= x[id[t]];
    for (size_t a = 0; a < q; ++a) {
      if (a != t) r.pi[a] *= x[id[t]];
      for (size_t b = 0; b < q; ++b)
        if (a != t && b != t && a != b) r.pij[a][b] *= x[id[t]];
    }
  }
  return r;
}

// coef * prod of the listed variables.
inline void prod(HsEval &e, int k, double coef, const std::vector<int> &id) {
  const Product r = product(e.x, id);
  val(e, k, coef * r.p);
  for (size_t a = 0; a < id.size(); ++a) {
    d1(e, k, id[a], coef * r.pi[a]);
    for (size_t b = a + 1; b < id.size(); ++b) d2(e, k, id[a], id[b], coef * r.pij[a][b]);
  }
}

// coef * exp(prod of the listed variables).
inline void expprod(HsEval &e, int k, double coef, const std::vector<int> &id) {
  const Product r = product(e.x, id);
  const double v = coef * std::exp(r.p);
  val(e, k, v);
  for (size_t a = 0; a < id.size(); ++a) {
    d1(e, k, id[a], v * r.pi[a]);
    d2(e, k, id[a], id[a], v * r.pi[a] * r.pi[a]);
    for (size_t b = a + 1; b < id.size(); ++b)
      d2(e, k, id[a], id[b], v * (r.pi[a] * r.pi[b] + r.pij[a][b]));
  }
}

// coef * (100 (x_j - x_i^2)^2 + (1 - x_i)^2), the Rosenbrock term.
inline void rosen(HsEval &e, int k, double coef, int i, int j) {
  const double xi = e.x[i], xj = e.x[j], a = xj - xi * xi;
  val(e, k, coef * (100.0 * a * a + (1.0 - xi) * (1.0 - xi)));
  d1(e, k, i, coef * (-400.0 * xi * a - 2.0 * (1.0 - xi)));
  d1(e, k, j, coef * 200.0 * a);
  d2(e, k, i, i, coef * (1200.0 * xi * xi - 400.0 * xj + 2.0));
  d2(e, k, i, j, coef * -400.0 * xi);
  d2(e, k, j, j, coef * 200.0);
}

}  // namespace hs
