// Hock-Schittkowski problems 31 to 60. Indices are 0-based: x[0] is x1.
#include <cmath>

#include "hs/hs_terms.h"

using namespace hs;

namespace {

const double INF = HS_INF;
const double SQ2 = std::sqrt(2.0);

// 9 x1^2 + x2^2 + 9 x3^2;  x1 x2 >= 1
void hs031(HsEval &e) {
  powdiff(e, -1, 9.0, 0, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  powdiff(e, -1, 9.0, 2, -1, 0.0, 2);
  bilin(e, 0, 1.0, 0, 1);
}

// (x1 + 3 x2 + x3)^2 + 4 (x1 - x2)^2;  6 x2 + 4 x3 - x1^3 >= 3;  sum = 1 (structure)
void hs032(HsEval &e) {
  const double s = e.x[0] + 3.0 * e.x[1] + e.x[2];
  e.f += s * s;
  e.G(0, 2.0 * s);
  e.G(1, 6.0 * s);
  e.G(2, 2.0 * s);
  e.Hf(0, 0, 2.0);
  e.Hf(0, 1, 6.0);
  e.Hf(0, 2, 2.0);
  e.Hf(1, 1, 18.0);
  e.Hf(1, 2, 6.0);
  e.Hf(2, 2, 2.0);
  powdiff(e, -1, 4.0, 0, 1, 0.0, 2);
  lin(e, 0, 6.0, 1);
  lin(e, 0, 4.0, 2);
  powdiff(e, 0, -1.0, 0, -1, 0.0, 3);
}

// (x1 - 1)(x1 - 2)(x1 - 3) + x3;  x3^2 - x1^2 - x2^2 >= 0;  x1^2 + x2^2 + x3^2 >= 4
void hs033(HsEval &e) {
  const double t = e.x[0];
  e.f += (t - 1.0) * (t - 2.0) * (t - 3.0);
  e.G(0, 3.0 * t * t - 12.0 * t + 11.0);
  e.Hf(0, 0, 6.0 * t - 12.0);
  lin(e, -1, 1.0, 2);
  powdiff(e, 0, 1.0, 2, -1, 0.0, 2);
  powdiff(e, 0, -1.0, 0, -1, 0.0, 2);
  powdiff(e, 0, -1.0, 1, -1, 0.0, 2);
  for (int j = 0; j < 3; ++j) powdiff(e, 1, 1.0, j, -1, 0.0, 2);
}

// x_{j+1} - exp(x_j) >= 0 for j = 0, 1 (HS34 and HS66 share them)
void expChain(HsEval &e) {
  for (int k = 0; k < 2; ++k) {
    const double v = std::exp(e.x[k]);
    e.c[k] += e.x[k + 1] - v;
    e.J(k, k, -v);
    e.J(k, k + 1, 1.0);
    e.Hc(k, k, k, -v);
  }
}

// objective -x1 is structure
void hs034(HsEval &e) { expChain(e); }

// quadratic part of 9 - 8 x1 - 6 x2 - 4 x3 + 2 x1^2 + 2 x2^2 + x3^2 + 2 x1 x2 + 2 x1 x3
void hs035(HsEval &e) {
  powdiff(e, -1, 2.0, 0, -1, 0.0, 2);
  powdiff(e, -1, 2.0, 1, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 2, -1, 0.0, 2);
  bilin(e, -1, 2.0, 0, 1);
  bilin(e, -1, 2.0, 0, 2);
}

// -x1 x2 x3; the constraint x1 + 2 x2 + 2 x3 <= 72 is structure
void hs036(HsEval &e) { prod(e, -1, -1.0, {0, 1, 2}); }

// -x1 x2 x3;  0 <= x1 + 2 x2 + 2 x3 <= 72 as two rows in the routine
void hs037(HsEval &e) {
  prod(e, -1, -1.0, {0, 1, 2});
  for (int k = 0; k < 2; ++k) {
    const double s = k == 0 ? -1.0 : 1.0;
    lin(e, k, s, 0);
    lin(e, k, 2.0 * s, 1);
    lin(e, k, 2.0 * s, 2);
  }
}

// Wood function
void hs038(HsEval &e) {
  rosen(e, -1, 1.0, 0, 1);
  const double a = e.x[3] - e.x[2] * e.x[2];
  e.f += 90.0 * a * a;
  e.G(2, -360.0 * e.x[2] * a);
  e.G(3, 180.0 * a);
  e.Hf(2, 2, 1080.0 * e.x[2] * e.x[2] - 360.0 * e.x[3]);
  e.Hf(2, 3, -360.0 * e.x[2]);
  e.Hf(3, 3, 180.0);
  powdiff(e, -1, 1.0, 2, -1, 1.0, 2);
  powdiff(e, -1, 10.1, 1, -1, 1.0, 2);
  powdiff(e, -1, 10.1, 3, -1, 1.0, 2);
  const double u = e.x[1] - 1.0, w = e.x[3] - 1.0;
  e.f += 19.8 * u * w;
  e.G(1, 19.8 * w);
  e.G(3, 19.8 * u);
  e.Hf(1, 3, 19.8);
}

// objective -x1 is structure;  x2 - x1^3 - x3^2 = 0;  x1^2 - x2 - x4^2 = 0
void hs039(HsEval &e) {
  lin(e, 0, 1.0, 1);
  powdiff(e, 0, -1.0, 0, -1, 0.0, 3);
  powdiff(e, 0, -1.0, 2, -1, 0.0, 2);
  powdiff(e, 1, 1.0, 0, -1, 0.0, 2);
  lin(e, 1, -1.0, 1);
  powdiff(e, 1, -1.0, 3, -1, 0.0, 2);
}

// -x1 x2 x3 x4;  x1^3 + x2^2 = 1;  x1^2 x4 - x3 = 0;  x4^2 - x2 = 0
void hs040(HsEval &e) {
  prod(e, -1, -1.0, {0, 1, 2, 3});
  powdiff(e, 0, 1.0, 0, -1, 0.0, 3);
  powdiff(e, 0, 1.0, 1, -1, 0.0, 2);
  const double x1 = e.x[0], x4 = e.x[3];
  e.c[1] += x1 * x1 * x4;
  e.J(1, 0, 2.0 * x1 * x4);
  e.J(1, 3, x1 * x1);
  e.Hc(1, 0, 0, 2.0 * x4);
  e.Hc(1, 0, 3, 2.0 * x1);
  lin(e, 1, -1.0, 2);
  powdiff(e, 2, 1.0, 3, -1, 0.0, 2);
  lin(e, 2, -1.0, 1);
}

// 2 - x1 x2 x3 (2 is structure);  x1 + 2 x2 + 2 x3 - x4 = 0 (structure)
void hs041(HsEval &e) { prod(e, -1, -1.0, {0, 1, 2}); }

// sum (x_i - i)^2;  x1 = 2 (structure);  x3^2 + x4^2 = 2
void hs042(HsEval &e) {
  for (int j = 0; j < 4; ++j) powdiff(e, -1, 1.0, j, -1, j + 1.0, 2);
  powdiff(e, 1, 1.0, 2, -1, 0.0, 2);
  powdiff(e, 1, 1.0, 3, -1, 0.0, 2);
}

// Rosen-Suzuki, everything in the routine
void hs043(HsEval &e) {
  const double fq[4] = {1, 1, 2, 1}, fl[4] = {-5, -5, -21, 7};
  const double q[3][4] = {{1, 1, 1, 1}, {1, 2, 1, 2}, {2, 1, 1, 0}};
  const double l[3][4] = {{1, -1, 1, -1}, {-1, 0, 0, -1}, {2, -1, 0, -1}};
  for (int j = 0; j < 4; ++j) {
    powdiff(e, -1, fq[j], j, -1, 0.0, 2);
    lin(e, -1, fl[j], j);
    for (int k = 0; k < 3; ++k) {
      if (q[k][j] != 0.0) powdiff(e, k, -q[k][j], j, -1, 0.0, 2);
      if (l[k][j] != 0.0) lin(e, k, -l[k][j], j);
    }
  }
}

// bilinear part of x1 - x2 - x3 - x1 x3 + x1 x4 + x2 x3 - x2 x4; constraints are structure
void hs044(HsEval &e) {
  bilin(e, -1, -1.0, 0, 2);
  bilin(e, -1, 1.0, 0, 3);
  bilin(e, -1, 1.0, 1, 2);
  bilin(e, -1, -1.0, 1, 3);
}

// 2 - x1 x2 x3 x4 x5 / 120 (2 is structure)
void hs045(HsEval &e) { prod(e, -1, -1.0 / 120.0, {0, 1, 2, 3, 4}); }

// (x1 - x2)^2 + (x3 - 1)^2 + (x4 - 1)^4 + (x5 - 1)^6
void hs046obj(HsEval &e) {
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 2, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 3, -1, 1.0, 4);
  powdiff(e, -1, 1.0, 4, -1, 1.0, 6);
}

}  // namespace

// x1^2 x4 + sin(x4 - x5);  x2 + x3^4 x4^2 (rows 0 and 1; HS46 and HS77)
void hsSinePair(HsEval &e) {
  const double x1 = e.x[0], x3 = e.x[2], x4 = e.x[3];
  const double s = std::sin(x4 - e.x[4]), c = std::cos(x4 - e.x[4]);
  e.c[0] += x1 * x1 * x4 + s;
  e.J(0, 0, 2.0 * x1 * x4);
  e.J(0, 3, x1 * x1 + c);
  e.J(0, 4, -c);
  e.Hc(0, 0, 0, 2.0 * x4);
  e.Hc(0, 0, 3, 2.0 * x1);
  e.Hc(0, 3, 3, -s);
  e.Hc(0, 3, 4, s);
  e.Hc(0, 4, 4, -s);
  const double x33 = x3 * x3 * x3;
  e.c[1] += e.x[1] + x33 * x3 * x4 * x4;
  e.J(1, 1, 1.0);
  e.J(1, 2, 4.0 * x33 * x4 * x4);
  e.J(1, 3, 2.0 * x33 * x3 * x4);
  e.Hc(1, 2, 2, 12.0 * x3 * x3 * x4 * x4);
  e.Hc(1, 2, 3, 8.0 * x33 * x4);
  e.Hc(1, 3, 3, 2.0 * x33 * x3);
}

// x1 + x2^2 + x3^3;  x2 - x3^2 + x4;  x1 x5 (rows 0 to 2; HS47 and HS79)
void hsCubicTriple(HsEval &e) {
  lin(e, 0, 1.0, 0);
  powdiff(e, 0, 1.0, 1, -1, 0.0, 2);
  powdiff(e, 0, 1.0, 2, -1, 0.0, 3);
  lin(e, 1, 1.0, 1);
  powdiff(e, 1, -1.0, 2, -1, 0.0, 2);
  lin(e, 1, 1.0, 3);
  bilin(e, 2, 1.0, 0, 4);
}

namespace {

void hs046(HsEval &e) {
  hs046obj(e);
  hsSinePair(e);
}

// (x1 - x2)^2 + (x2 - x3)^3 + (x3 - x4)^4 + (x4 - x5)^4
void hs047(HsEval &e) {
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, 2, 0.0, 3);
  powdiff(e, -1, 1.0, 2, 3, 0.0, 4);
  powdiff(e, -1, 1.0, 3, 4, 0.0, 4);
  hsCubicTriple(e);
}

// (x1 - 1)^2 + (x2 - x3)^2 + (x4 - x5)^2; linear rows in the routine
void hs048(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 1, 2, 0.0, 2);
  powdiff(e, -1, 1.0, 3, 4, 0.0, 2);
  for (int j = 0; j < 5; ++j) lin(e, 0, 1.0, j);
  lin(e, 1, 1.0, 2);
  lin(e, 1, -2.0, 3);
  lin(e, 1, -2.0, 4);
}

// objective of HS46; linear rows are structure
void hs049(HsEval &e) { hs046obj(e); }

// (x1 - x2)^2 + (x2 - x3)^2 + (x3 - x4)^4 + (x4 - x5)^2; rows x_k + 2 x_k+1 + 3 x_k+2 = 6
void hs050(HsEval &e) {
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, 2, 0.0, 2);
  powdiff(e, -1, 1.0, 2, 3, 0.0, 4);
  powdiff(e, -1, 1.0, 3, 4, 0.0, 2);
  for (int k = 0; k < 3; ++k)
    for (int t = 0; t < 3; ++t) lin(e, k, t + 1.0, k + t);
}

// (a x1 - x2)^2 + (x2 + x3 - 2)^2 + (x4 - 1)^2 + (x5 - 1)^2
void hs051obj(HsEval &e, double a) {
  const double u = a * e.x[0] - e.x[1], w = e.x[1] + e.x[2] - 2.0;
  e.f += u * u + w * w;
  e.G(0, 2.0 * a * u);
  e.G(1, -2.0 * u + 2.0 * w);
  e.G(2, 2.0 * w);
  e.Hf(0, 0, 2.0 * a * a);
  e.Hf(0, 1, -2.0 * a);
  e.Hf(1, 1, 4.0);
  e.Hf(1, 2, 2.0);
  e.Hf(2, 2, 2.0);
  powdiff(e, -1, 1.0, 3, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 4, -1, 1.0, 2);
}

// HS51 rows: x1 + 3 x2 = 4 (0 in HS52 and HS53);  x3 + x4 - 2 x5 = 0;  x2 - x5 = 0
void hs051rows(HsEval &e) {
  lin(e, 0, 1.0, 0);
  lin(e, 0, 3.0, 1);
  lin(e, 1, 1.0, 2);
  lin(e, 1, 1.0, 3);
  lin(e, 1, -2.0, 4);
  lin(e, 2, 1.0, 1);
  lin(e, 2, -1.0, 4);
}

void hs051(HsEval &e) { hs051obj(e, 1.0); }
void hs052(HsEval &e) {
  hs051obj(e, 4.0);
  hs051rows(e);
}
void hs053(HsEval &e) { hs051obj(e, 1.0); }

// -x1 x2 x3;  x_i - 4.2 sin^2 x_{i+3} = 0 (i = 1..3);  x1 + 2 x2 + 2 x3 - 7.2 sin^2 x7 = 0
void hs056(HsEval &e) {
  prod(e, -1, -1.0, {0, 1, 2});
  for (int k = 0; k < 4; ++k) {
    const int t = 3 + k;
    const double a = k < 3 ? 4.2 : 7.2, s = std::sin(e.x[t]);
    e.c[k] -= a * s * s;
    e.J(k, t, -a * std::sin(2.0 * e.x[t]));
    e.Hc(k, t, t, -2.0 * a * std::cos(2.0 * e.x[t]));
    lin(e, k, 1.0, k < 3 ? k : 0);
  }
  lin(e, 3, 2.0, 1);
  lin(e, 3, 2.0, 2);
}

// (x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^4;  x1 (1 + x2^2) + x3^4 = 4 + 3 sqrt 2
void hs060(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, 2, 0.0, 4);
  const double x1 = e.x[0], x2 = e.x[1];
  e.c[0] += x1 * (1.0 + x2 * x2);
  e.J(0, 0, 1.0 + x2 * x2);
  e.J(0, 1, 2.0 * x1 * x2);
  e.Hc(0, 0, 1, 2.0 * x2);
  e.Hc(0, 1, 1, 2.0 * x1);
  powdiff(e, 0, 1.0, 2, -1, 0.0, 4);
}

// The linear rows of HS51 to HS53 as structure.
std::vector<HsLinear> hs051linear() {
  return {{0, 0, 1.0}, {0, 1, 3.0}, {1, 2, 1.0}, {1, 3, 1.0}, {1, 4, -2.0}, {2, 1, 1.0}, {2, 4, -1.0}};
}

}  // namespace

void hsAddProblems31to60(std::vector<HsProblem> &out) {
  const double e3 = 1.0 / std::sqrt(3.0), l10 = std::log(10.0);
  const std::vector<double> ones(5, 1.0), zero3(3, 0.0), inf3(3, INF), inf2(2, INF);
  out.push_back({"hs031", 3, 1, hs031, {1, 1, 1}, {-10, 1, -10}, {10, 10, 1}, {1}, {INF}, 6.0,
                 {e3, std::sqrt(3.0), 0}});
  out.push_back({"hs032", 3, 2, hs032, {0.1, 0.7, 0.2}, zero3, {}, {3, 1}, {INF, 1}, 1.0, {0, 0, 1},
                 true, {{1, 0, 1.0}, {1, 1, 1.0}, {1, 2, 1.0}}});
  out.push_back({"hs033", 3, 2, hs033, {0, 0, 3}, zero3, {INF, INF, 5}, {0, 4}, inf2,
                 SQ2 - 6.0, {0, SQ2, SQ2}});
  out.push_back({"hs034", 3, 2, hs034, {0, 1.05, 2.9}, zero3, {100, 100, 10}, {0, 0}, inf2,
                 -std::log(l10), {std::log(l10), l10, 10}, true, {{-1, 0, -1.0}}});
  out.push_back({"hs035", 3, 1, hs035, {0.5, 0.5, 0.5}, zero3, {}, {-INF}, {3}, 1.0 / 9.0,
                 {4.0 / 3.0, 7.0 / 9.0, 4.0 / 9.0}, true,
                 {{-1, 0, -8.0}, {-1, 1, -6.0}, {-1, 2, -4.0}, {0, 0, 1.0}, {0, 1, 1.0}, {0, 2, 2.0}},
                 9.0});
  out.push_back({"hs036", 3, 1, hs036, {10, 10, 10}, zero3, {20, 11, 42}, {-INF}, {72}, -3300.0,
                 {20, 11, 15}, false, {{0, 0, 1.0}, {0, 1, 2.0}, {0, 2, 2.0}}});
  out.push_back({"hs037", 3, 2, hs037, {10, 10, 10}, zero3, {42, 42, 42}, {-72, 0}, inf2, -3456.0,
                 {24, 12, 12}});
  out.push_back({"hs038", 4, 0, hs038, {-3, -1, -3, -1}, {-10, -10, -10, -10}, {10, 10, 10, 10},
                 {}, {}, 0.0, {1, 1, 1, 1}});
  out.push_back({"hs039", 4, 2, hs039, {2, 2, 2, 2}, {}, {}, {0, 0}, {0, 0}, -1.0, {1, 1, 0, 0},
                 false, {{-1, 0, -1.0}}});
  out.push_back({"hs040", 4, 3, hs040, {0.8, 0.8, 0.8, 0.8}, {}, {}, {1, 0, 0}, {1, 0, 0}, -0.25,
                 {std::pow(2.0, -1.0 / 3.0), std::pow(2.0, -0.5), std::pow(2.0, -11.0 / 12.0),
                  std::pow(2.0, -0.25)}});
  out.push_back({"hs041", 4, 1, hs041, {2, 2, 2, 2}, {0, 0, 0, 0}, {1, 1, 1, 2}, {0}, {0},
                 52.0 / 27.0, {2.0 / 3.0, 1.0 / 3.0, 1.0 / 3.0, 2}, false,
                 {{0, 0, 1.0}, {0, 1, 2.0}, {0, 2, 2.0}, {0, 3, -1.0}}, 2.0});
  out.push_back({"hs042", 4, 2, hs042, {1, 1, 1, 1}, {}, {}, {2, 2}, {2, 2}, 28.0 - 10.0 * SQ2,
                 {2, 2, 0.6 * SQ2, 0.8 * SQ2}, false, {{0, 0, 1.0}}});
  out.push_back({"hs043", 4, 3, hs043, {0, 0, 0, 0}, {}, {}, {-8, -10, -5}, inf3, -44.0,
                 {0, 1, 2, -1}, true});
  out.push_back({"hs044", 4, 6, hs044, {0, 0, 0, 0}, {0, 0, 0, 0}, {}, std::vector<double>(6, -INF),
                 {8, 12, 12, 8, 8, 5}, -15.0, {0, 3, 0, 4}, false,
                 {{-1, 0, 1.0}, {-1, 1, -1.0}, {-1, 2, -1.0}, {0, 0, 1.0}, {0, 1, 2.0}, {1, 0, 4.0},
                  {1, 1, 1.0}, {2, 0, 3.0}, {2, 1, 4.0}, {3, 2, 2.0}, {3, 3, 1.0}, {4, 2, 1.0},
                  {4, 3, 2.0}, {5, 2, 1.0}, {5, 3, 1.0}}});
  out.push_back({"hs045", 5, 0, hs045, {2, 2, 2, 2, 2}, {0, 0, 0, 0, 0}, {1, 2, 3, 4, 5}, {}, {}, 1.0,
                 {1, 2, 3, 4, 5}, false, {}, 2.0});
  out.push_back({"hs046", 5, 2, hs046, {0.5 * SQ2, 1.75, 0.5, 2, 2}, {}, {}, {1, 2}, {1, 2}, 0.0, ones});
  out.push_back({"hs047", 5, 3, hs047, {2, SQ2, -1, 2 - SQ2, 0.5}, {}, {}, {3, 1, 1}, {3, 1, 1}, 0.0,
                 ones});
  out.push_back({"hs048", 5, 2, hs048, {3, 5, -3, 2, -2}, {}, {}, {5, -3}, {5, -3}, 0.0, ones, true});
  out.push_back({"hs049", 5, 2, hs049, {10, 7, 2, -3, 0.8}, {}, {}, {7, 6}, {7, 6}, 0.0, ones, true,
                 {{0, 0, 1.0}, {0, 1, 1.0}, {0, 2, 1.0}, {0, 3, 4.0}, {1, 2, 1.0}, {1, 4, 5.0}}});
  out.push_back({"hs050", 5, 3, hs050, {35, -31, 11, 5, -5}, {}, {}, {6, 6, 6}, {6, 6, 6}, 0.0, ones,
                 true});
  out.push_back({"hs051", 5, 3, hs051, {2.5, 0.5, 2, -1, 0.5}, {}, {}, {4, 0, 0}, {4, 0, 0}, 0.0, ones,
                 true, hs051linear()});
  out.push_back({"hs052", 5, 3, hs052, {2, 2, 2, 2, 2}, {}, {}, {0, 0, 0}, {0, 0, 0}, 1859.0 / 349.0,
                 {-33.0 / 349, 11.0 / 349, 180.0 / 349, -158.0 / 349, 11.0 / 349}, true});
  out.push_back({"hs053", 5, 3, hs053, {2, 2, 2, 2, 2}, std::vector<double>(5, -10),
                 std::vector<double>(5, 10), {0, 0, 0}, {0, 0, 0}, 176.0 / 43.0,
                 {-33.0 / 43, 11.0 / 43, 27.0 / 43, -5.0 / 43, 11.0 / 43}, true, hs051linear()});
  const double a56 = std::asin(std::sqrt(1.0 / 4.2)), b56 = std::asin(std::sqrt(5.0 / 7.2));
  const double p56 = std::asin(std::sqrt(4.0 / 7.0)), q56 = std::asin(std::sqrt(2.0 / 7.0));
  out.push_back({"hs056", 7, 4, hs056, {1, 1, 1, a56, a56, a56, b56}, {}, {},
                 {0, 0, 0, 0}, {0, 0, 0, 0}, -3.456, {2.4, 1.2, 1.2, p56, q56, q56, 0.5 * M_PI}});
  out.push_back({"hs060", 3, 1, hs060, {2, 2, 2}, {-10, -10, -10}, {10, 10, 10}, {4 + 3 * SQ2},
                 {4 + 3 * SQ2}, 0.0325682, {1.104859024, 1.196674194, 1.535262257}});
}
