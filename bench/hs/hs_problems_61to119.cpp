// Hock-Schittkowski problems 61 to 119, and two small linear programs
// (the collection has none) with optima worked out by hand.
// Indices are 0-based: x[0] is x1.
#include <cmath>

#include "hs/hs_terms.h"

using namespace hs;

void hsSinePair(HsEval &e);
void hsCubicTriple(HsEval &e);

namespace {

const double INF = HS_INF;
const double SQ2 = std::sqrt(2.0);

// 4 x1^2 + 2 x2^2 + 2 x3^2 (linear part structure);  3 x1 - 2 x2^2 = 7;  4 x1 - x3^2 = 11
void hs061(HsEval &e) {
  powdiff(e, -1, 4.0, 0, -1, 0.0, 2);
  powdiff(e, -1, 2.0, 1, -1, 0.0, 2);
  powdiff(e, -1, 2.0, 2, -1, 0.0, 2);
  lin(e, 0, 3.0, 0);
  powdiff(e, 0, -2.0, 1, -1, 0.0, 2);
  lin(e, 1, 4.0, 0);
  powdiff(e, 1, -1.0, 2, -1, 0.0, 2);
}

// 1000 - x1^2 - 2 x2^2 - x3^2 - x1 x2 - x1 x3;  8 x1 + 14 x2 + 7 x3 = 56 (structure);
// x1^2 + x2^2 + x3^2 = 25
void hs063(HsEval &e) {
  e.f += 1000.0;
  powdiff(e, -1, -1.0, 0, -1, 0.0, 2);
  powdiff(e, -1, -2.0, 1, -1, 0.0, 2);
  powdiff(e, -1, -1.0, 2, -1, 0.0, 2);
  bilin(e, -1, -1.0, 0, 1);
  bilin(e, -1, -1.0, 0, 2);
  for (int j = 0; j < 3; ++j) powdiff(e, 1, 1.0, j, -1, 0.0, 2);
}

// 50000/x1 + 72000/x2 + 144000/x3 (linear part structure);  -4/x1 - 32/x2 - 120/x3 >= -1
void hs064(HsEval &e) {
  const double fo[3] = {50000, 72000, 144000}, co[3] = {4, 32, 120};
  for (int j = 0; j < 3; ++j) {
    mono(e, -1, fo[j], {j}, {-1.0});
    mono(e, 0, -co[j], {j}, {-1.0});
  }
}

// 1 + sum x_i (structure);  sum a_i / x_i <= b for two rows
void hs072(HsEval &e) {
  const double a[2][4] = {{4, 2.25, 1, 0.25}, {0.16, 0.36, 0.64, 0.64}};
  for (int k = 0; k < 2; ++k)
    for (int j = 0; j < 4; ++j) mono(e, k, a[k][j], {j}, {-1.0});
}

// cattle feed: the chance constraint
// 12 x1 + 11.9 x2 + 41.8 x3 + 52.1 x4 - 1.645 sqrt(0.28 x1^2 + 0.19 x2^2 + 20.5 x3^2 + 0.62 x4^2) >= 21
void hs073(HsEval &e) {
  const double l[4] = {12, 11.9, 41.8, 52.1}, q[4] = {0.28, 0.19, 20.5, 0.62};
  double s = 0.0;
  for (int j = 0; j < 4; ++j) s += q[j] * e.x[j] * e.x[j];
  const double r = std::sqrt(s);
  e.c[1] += -1.645 * r;
  for (int j = 0; j < 4; ++j) {
    lin(e, 1, l[j], j);
    e.J(1, j, -1.645 * q[j] * e.x[j] / r);
    for (int i = 0; i <= j; ++i)
      e.Hc(1, i, j, -1.645 * ((i == j ? q[j] / r : 0.0) - q[i] * e.x[i] * q[j] * e.x[j] / (r * s)));
  }
}

// Colville's process: three range rows of bilinear terms
void hs083(HsEval &e) {
  powdiff(e, -1, 5.3578547, 2, -1, 0.0, 2);
  bilin(e, -1, 0.8356891, 0, 4);
  lin(e, -1, 37.293239, 0);
  bilin(e, 0, 0.0056858, 1, 4);
  bilin(e, 0, 0.0006262, 0, 3);
  bilin(e, 0, -0.0022053, 2, 4);
  bilin(e, 1, 0.0071317, 1, 4);
  bilin(e, 1, 0.0029955, 0, 1);
  powdiff(e, 1, 0.0021813, 2, -1, 0.0, 2);
  bilin(e, 2, 0.0047026, 2, 4);
  bilin(e, 2, 0.0012547, 0, 2);
  bilin(e, 2, 0.0019085, 2, 3);
}

// sum (ln(x_i - 2))^2 + (ln(10 - x_i))^2 - (prod x_i)^0.2
void hs110(HsEval &e) {
  for (int j = 0; j < 10; ++j) {
    const double u = e.x[j] - 2.0, w = 10.0 - e.x[j], lu = std::log(u), lw = std::log(w);
    e.f += lu * lu + lw * lw;
    e.G(j, 2.0 * lu / u - 2.0 * lw / w);
    e.Hf(j, j, (2.0 - 2.0 * lu) / (u * u) + (2.0 - 2.0 * lw) / (w * w));
  }
  mono(e, -1, -1.0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, std::vector<double>(10, 0.2));
}

// (x1 - x2)^2 + (x1 + x2 - 10)^2 / 9 + (x3 - 5)^2;  -x1^2 - x2^2 - x3^2 >= -48
void hs065(HsEval &e) {
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  const double s = e.x[0] + e.x[1] - 10.0;
  e.f += s * s / 9.0;
  e.G(0, 2.0 * s / 9.0);
  e.G(1, 2.0 * s / 9.0);
  e.Hf(0, 0, 2.0 / 9.0);
  e.Hf(0, 1, 2.0 / 9.0);
  e.Hf(1, 1, 2.0 / 9.0);
  powdiff(e, -1, 1.0, 2, -1, 5.0, 2);
  for (int j = 0; j < 3; ++j) powdiff(e, 0, -1.0, j, -1, 0.0, 2);
}

// objective 0.2 x3 - 0.8 x1 is structure; the rows of HS34
void hs066(HsEval &e) {
  for (int k = 0; k < 2; ++k) {
    const double v = std::exp(e.x[k]);
    e.c[k] += e.x[k + 1] - v;
    e.J(k, k, -v);
    e.J(k, k + 1, 1.0);
    e.Hc(k, k, k, -v);
  }
}

// x1 x4 (x1 + x2 + x3) + x3;  x1 x2 x3 x4 >= 25;  sum x_i^2 = 40
void hs071(HsEval &e) {
  mono(e, -1, 1.0, {0, 3}, {2.0, 1.0});
  prod(e, -1, 1.0, {0, 1, 3});
  prod(e, -1, 1.0, {0, 2, 3});
  lin(e, -1, 1.0, 2);
  prod(e, 0, 1.0, {0, 1, 2, 3});
  for (int j = 0; j < 4; ++j) powdiff(e, 1, 1.0, j, -1, 0.0, 2);
}

// quadratic part of HS76; the linear part and the constraints are structure
void hs076(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 0.0, 2);
  powdiff(e, -1, 0.5, 1, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 2, -1, 0.0, 2);
  powdiff(e, -1, 0.5, 3, -1, 0.0, 2);
  bilin(e, -1, -1.0, 0, 2);
  bilin(e, -1, 1.0, 2, 3);
}

// (x1 - 1)^2 + (x1 - x2)^2 + (x3 - 1)^2 + (x4 - 1)^4 + (x5 - 1)^6; rows of HS46
void hs077(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 2, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 3, -1, 1.0, 4);
  powdiff(e, -1, 1.0, 4, -1, 1.0, 6);
  hsSinePair(e);
}

// sum x_i^2 = 10;  x2 x3 - 5 x4 x5 = 0;  x1^3 + x2^3 = -1 (HS78, HS80, HS81)
void hs078rows(HsEval &e) {
  for (int j = 0; j < 5; ++j) powdiff(e, 0, 1.0, j, -1, 0.0, 2);
  bilin(e, 1, 1.0, 1, 2);
  bilin(e, 1, -5.0, 3, 4);
  powdiff(e, 2, 1.0, 0, -1, 0.0, 3);
  powdiff(e, 2, 1.0, 1, -1, 0.0, 3);
}

const std::vector<int> kAll5 = {0, 1, 2, 3, 4};

void hs078(HsEval &e) {
  prod(e, -1, 1.0, kAll5);
  hs078rows(e);
}

// (x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^2 + (x3 - x4)^4 + (x4 - x5)^4; rows of HS47
void hs079(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 1.0, 2);
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, 2, 0.0, 2);
  powdiff(e, -1, 1.0, 2, 3, 0.0, 4);
  powdiff(e, -1, 1.0, 3, 4, 0.0, 4);
  hsCubicTriple(e);
}

void hs080(HsEval &e) {
  expprod(e, -1, 1.0, kAll5);
  hs078rows(e);
}

// exp(x1 x2 x3 x4 x5) - 0.5 (x1^3 + x2^3 + 1)^2
void hs081(HsEval &e) {
  expprod(e, -1, 1.0, kAll5);
  const double x1 = e.x[0], x2 = e.x[1], q = x1 * x1 * x1 + x2 * x2 * x2 + 1.0;
  const double a = 3.0 * x1 * x1, b = 3.0 * x2 * x2;
  e.f -= 0.5 * q * q;
  e.G(0, -q * a);
  e.G(1, -q * b);
  e.Hf(0, 0, -(a * a + q * 6.0 * x1));
  e.Hf(0, 1, -a * b);
  e.Hf(1, 1, -(b * b + q * 6.0 * x2));
  hs078rows(e);
}

// HS93 row k: x1 x4 (x1 + x2 + x3) (a1 + b1 x5^2) + x2 x3 (x1 + 1.57 x2 + x4) (a2 + b2 x6^2)
void hs093form(HsEval &e, int k, double a1, double b1, double a2, double b2) {
  const double *x = e.x;
  const double A = x[0] + x[1] + x[2], B = x[0] + 1.57 * x[1] + x[3];
  const double P = x[0] * x[3] * A, Q = x[1] * x[2] * B;
  const double u = a1 + b1 * x[4] * x[4], v = a2 + b2 * x[5] * x[5];
  const double Pd[4] = {x[3] * (2 * x[0] + x[1] + x[2]), x[0] * x[3], x[0] * x[3], x[0] * A};
  const double Qd[4] = {x[1] * x[2], x[2] * (x[0] + 3.14 * x[1] + x[3]), x[1] * B, x[1] * x[2]};
  const double Pdd[4][4] = {{2 * x[3], x[3], x[3], 2 * x[0] + x[1] + x[2]},
                            {0, 0, 0, x[0]}, {0, 0, 0, x[0]}, {0, 0, 0, 0}};
  const double Qdd[4][4] = {{0, x[2], x[1], 0},
                            {0, 3.14 * x[2], x[0] + 3.14 * x[1] + x[3], x[2]},
                            {0, 0, 0, x[1]}, {0, 0, 0, 0}};
  val(e, k, P * u + Q * v);
  for (int i = 0; i < 4; ++i) {
    d1(e, k, i, Pd[i] * u + Qd[i] * v);
    for (int j = i; j < 4; ++j) d2(e, k, i, j, Pdd[i][j] * u + Qdd[i][j] * v);
    d2(e, k, i, 4, Pd[i] * 2 * b1 * x[4]);
    d2(e, k, i, 5, Qd[i] * 2 * b2 * x[5]);
  }
  d1(e, k, 4, P * 2 * b1 * x[4]);
  d1(e, k, 5, Q * 2 * b2 * x[5]);
  d2(e, k, 4, 4, 2 * b1 * P);
  d2(e, k, 5, 5, 2 * b2 * Q);
}

// transformer design
void hs093(HsEval &e) {
  hs093form(e, -1, 0.0204, 0.0607, 0.0187, 0.0437);
  prod(e, 0, 0.001, {0, 1, 2, 3, 4, 5});
  hs093form(e, 1, 0.0, 0.00062, 0.0, 0.00058);
}

void hs100(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 10.0, 2);
  powdiff(e, -1, 5.0, 1, -1, 12.0, 2);
  powdiff(e, -1, 1.0, 2, -1, 0.0, 4);
  powdiff(e, -1, 3.0, 3, -1, 11.0, 2);
  powdiff(e, -1, 10.0, 4, -1, 0.0, 6);
  powdiff(e, -1, 7.0, 5, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 6, -1, 0.0, 4);
  bilin(e, -1, -4.0, 5, 6);
  lin(e, -1, -10.0, 5);
  lin(e, -1, -8.0, 6);
  // 127 - 2 x1^2 - 3 x2^4 - x3 - 4 x4^2 - 5 x5 >= 0
  powdiff(e, 0, -2.0, 0, -1, 0.0, 2);
  powdiff(e, 0, -3.0, 1, -1, 0.0, 4);
  lin(e, 0, -1.0, 2);
  powdiff(e, 0, -4.0, 3, -1, 0.0, 2);
  lin(e, 0, -5.0, 4);
  // 282 - 7 x1 - 3 x2 - 10 x3^2 - x4 + x5 >= 0
  lin(e, 1, -7.0, 0);
  lin(e, 1, -3.0, 1);
  powdiff(e, 1, -10.0, 2, -1, 0.0, 2);
  lin(e, 1, -1.0, 3);
  lin(e, 1, 1.0, 4);
  // 196 - 23 x1 - x2^2 - 6 x6^2 + 8 x7 >= 0
  lin(e, 2, -23.0, 0);
  powdiff(e, 2, -1.0, 1, -1, 0.0, 2);
  powdiff(e, 2, -6.0, 5, -1, 0.0, 2);
  lin(e, 2, 8.0, 6);
  // -4 x1^2 - x2^2 + 3 x1 x2 - 2 x3^2 - 5 x6 + 11 x7 >= 0
  powdiff(e, 3, -4.0, 0, -1, 0.0, 2);
  powdiff(e, 3, -1.0, 1, -1, 0.0, 2);
  bilin(e, 3, 3.0, 0, 1);
  powdiff(e, 3, -2.0, 2, -1, 0.0, 2);
  lin(e, 3, -5.0, 5);
  lin(e, 3, 11.0, 6);
}

// 0.4 x1^0.67 x7^-0.67 + 0.4 x2^0.67 x8^-0.67 - x1 - x2 (rows -1 and 4; 10 apart)
void hs104obj(HsEval &e, int k) {
  mono(e, k, 0.4, {0, 6}, {0.67, -0.67});
  mono(e, k, 0.4, {1, 7}, {0.67, -0.67});
  lin(e, k, -1.0, 0);
  lin(e, k, -1.0, 1);
}

void hs104(HsEval &e) {
  hs104obj(e, -1);
  bilin(e, 0, -0.0588, 4, 6);
  lin(e, 0, -0.1, 0);
  bilin(e, 1, -0.0588, 5, 7);
  lin(e, 1, -0.1, 0);
  lin(e, 1, -0.1, 1);
  for (int t = 0; t < 2; ++t) {
    const int xa = 2 + t, xb = 4 + t, xc = 6 + t;
    mono(e, 2 + t, -4.0, {xa, xb}, {1.0, -1.0});
    mono(e, 2 + t, -2.0, {xa, xb}, {-0.71, -1.0});
    mono(e, 2 + t, -0.0588, {xa, xc}, {-1.3, 1.0});
  }
  hs104obj(e, 4);
}

// heat exchanger design: the three bilinear rows (linear rows are structure)
void hs106(HsEval &e) {
  bilin(e, 3, 1.0, 0, 5);
  lin(e, 3, -833.33252, 3);
  lin(e, 3, -100.0, 0);
  bilin(e, 4, 1.0, 1, 6);
  lin(e, 4, -1250.0, 4);
  bilin(e, 4, -1.0, 1, 3);
  lin(e, 4, 1250.0, 3);
  bilin(e, 5, 1.0, 2, 7);
  bilin(e, 5, -1.0, 2, 4);
  lin(e, 5, 2500.0, 4);
}

// -(x_a - x_b)^2 - (x_c - x_d)^2 (b, d < 0 leave the variable out)
void hs108disc(HsEval &e, int k, int a, int b, int c, int d) {
  powdiff(e, k, -1.0, a, b, 0.0, 2);
  if (c >= 0) powdiff(e, k, -1.0, c, d, 0.0, 2);
}

// largest hexagon
void hs108(HsEval &e) {
  bilin(e, -1, -0.5, 0, 3);
  bilin(e, -1, 0.5, 1, 2);
  bilin(e, -1, -0.5, 2, 8);
  bilin(e, -1, 0.5, 4, 8);
  bilin(e, -1, -0.5, 4, 7);
  bilin(e, -1, 0.5, 5, 6);
  hs108disc(e, 0, 2, -1, 3, -1);
  hs108disc(e, 1, 8, -1, -1, -1);
  hs108disc(e, 2, 4, -1, 5, -1);
  hs108disc(e, 3, 0, -1, 1, 8);
  hs108disc(e, 4, 0, 4, 1, 5);
  hs108disc(e, 5, 0, 6, 1, 7);
  hs108disc(e, 6, 2, 4, 3, 5);
  hs108disc(e, 7, 2, 6, 3, 7);
  hs108disc(e, 8, 6, -1, 7, 8);
  bilin(e, 9, 1.0, 0, 3);
  bilin(e, 9, -1.0, 1, 2);
  bilin(e, 10, 1.0, 2, 8);
  bilin(e, 11, -1.0, 4, 8);
  bilin(e, 12, 1.0, 4, 7);
  bilin(e, 12, -1.0, 5, 6);
}

// Wong 2: objective without the constant 45 (structure); rows 3 to 7
void hs113(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  bilin(e, -1, 1.0, 0, 1);
  lin(e, -1, -14.0, 0);
  lin(e, -1, -16.0, 1);
  const double w[8] = {1, 4, 1, 2, 5, 7, 2, 1}, s[8] = {10, 5, 3, 1, 0, 11, 10, 7};
  for (int j = 2; j < 10; ++j) powdiff(e, -1, w[j - 2], j, -1, s[j - 2], 2);
  powdiff(e, 3, -3.0, 0, -1, 2.0, 2);
  powdiff(e, 3, -4.0, 1, -1, 3.0, 2);
  powdiff(e, 3, -2.0, 2, -1, 0.0, 2);
  lin(e, 3, 7.0, 3);
  powdiff(e, 4, -5.0, 0, -1, 0.0, 2);
  lin(e, 4, -8.0, 1);
  powdiff(e, 4, -1.0, 2, -1, 6.0, 2);
  lin(e, 4, 2.0, 3);
  powdiff(e, 5, -0.5, 0, -1, 8.0, 2);
  powdiff(e, 5, -2.0, 1, -1, 4.0, 2);
  powdiff(e, 5, -3.0, 4, -1, 0.0, 2);
  lin(e, 5, 1.0, 5);
  powdiff(e, 6, -1.0, 0, -1, 0.0, 2);
  powdiff(e, 6, -2.0, 1, -1, 2.0, 2);
  bilin(e, 6, 2.0, 0, 1);
  lin(e, 6, -14.0, 4);
  lin(e, 6, 6.0, 5);
  lin(e, 7, 3.0, 0);
  lin(e, 7, -6.0, 1);
  powdiff(e, 7, -12.0, 8, -1, 8.0, 2);
  lin(e, 7, 7.0, 9);
}

// quadratic part of HS118's objective
void hs118(HsEval &e) {
  const double q[3] = {0.0001, 0.0001, 0.00015};
  for (int j = 0; j < 15; ++j) powdiff(e, -1, q[j % 3], j, -1, 0.0, 2);
}

HsProblem hs118problem() {
  HsProblem p{"hs118", 15, 17, hs118, {}, {}, {}, {}, {}, 664.82045, {}, true};
  const double lin3[3] = {2.3, 1.7, 2.2}, up3[3] = {90, 120, 60}, lo1[3] = {8, 43, 3},
               up1[3] = {21, 57, 16}, step[3] = {6, 7, 6}, demand[5] = {60, 50, 70, 85, 100};
  const double x0[3] = {20, 60, 20};
  for (int j = 0; j < 15; ++j) {
    const int t = j % 3;
    p.xlo.push_back(j < 3 ? lo1[t] : 0.0);
    p.xup.push_back(j < 3 ? up1[t] : up3[t]);
    p.x0.push_back(j == 1 ? 55.0 : x0[t]);
    p.linear.push_back({-1, j, lin3[t]});
  }
  p.x0[0] = 20.0;
  p.x0[2] = 15.0;
  // -7 <= x_{j+3} - x_j <= 6 or 7 (ramping between periods)
  for (int j = 0; j < 12; ++j) {
    p.linear.push_back({j, j + 3, 1.0});
    p.linear.push_back({j, j, -1.0});
    p.clo.push_back(-7.0);
    p.cup.push_back(step[j % 3]);
  }
  for (int k = 0; k < 5; ++k) {
    for (int t = 0; t < 3; ++t) p.linear.push_back({12 + k, 3 * k + t, 1.0});
    p.clo.push_back(demand[k]);
    p.cup.push_back(INF);
  }
  p.xstar = {8, 49, 3, 1, 56, 0, 1, 63, 6, 3, 70, 12, 5, 77, 18};
  return p;
}

}  // namespace

void hsAddProblems61to119(std::vector<HsProblem> &out) {
  const std::vector<double> ones5(5, 1.0), inf2(2, INF), zero3(3, 0.0);
  out.push_back({"hs061", 3, 2, hs061, {0, 0, 0}, {}, {}, {7, 11}, {7, 11}, -143.6461422,
                 {5.326770157, -2.118998639, 3.210464239}, false, {{-1, 0, -33.0}, {-1, 1, 16.0}, {-1, 2, -24.0}}});
  out.push_back({"hs063", 3, 2, hs063, {2, 2, 2}, zero3, {}, {56, 25}, {56, 25}, 961.7151721,
                 {3.512118414, 0.2169881741, 3.552174034}, false, {{0, 0, 8.0}, {0, 1, 14.0}, {0, 2, 7.0}}});
  out.push_back({"hs064", 3, 1, hs064, {1, 1, 1}, {1e-5, 1e-5, 1e-5}, {}, {-1}, {INF}, 6299.842428,
                 {108.7347175, 85.12613942, 204.3247078}, true, {{-1, 0, 5.0}, {-1, 1, 20.0}, {-1, 2, 10.0}}});
  out.push_back({"hs065", 3, 1, hs065, {-5, 5, 0}, {-4.5, -4.5, -5}, {4.5, 4.5, 5}, {-48}, {INF},
                 0.9535288567, {3.650461821, 3.65046168, 4.6204170507}, true});
  out.push_back({"hs066", 3, 2, hs066, {0, 1.05, 2.9}, zero3, {100, 100, 10}, {0, 0}, inf2,
                 0.5181632741, {0.1841264879, 1.202167873, 3.327322322}, true,
                 {{-1, 0, -0.8}, {-1, 2, 0.2}}});
  out.push_back({"hs071", 4, 2, hs071, {1, 5, 5, 1}, {1, 1, 1, 1}, {5, 5, 5, 5}, {25, 40}, {INF, 40},
                 17.0140173, {1.0, 4.7429994, 3.8211503, 1.3794082}});
  out.push_back({"hs072", 4, 2, hs072, {1, 1, 1, 1}, {0.001, 0.001, 0.001, 0.001}, {4e5, 3e5, 2e5, 1e5},
                 {-INF, -INF}, {0.0401, 0.010085}, 727.67937, {193.4071, 179.5475, 185.0186, 168.7062}, true,
                 {{-1, 0, 1.0}, {-1, 1, 1.0}, {-1, 2, 1.0}, {-1, 3, 1.0}}, 1.0});
  out.push_back({"hs073", 4, 3, hs073, {1, 1, 1, 1}, {0, 0, 0, 0}, {}, {5, 21, 1}, {INF, INF, 1}, 29.894378,
                 {0.6355216, 0.0, 0.3127019, 0.05177655}, true,
                 {{-1, 0, 24.55}, {-1, 1, 26.75}, {-1, 2, 39.0}, {-1, 3, 40.5}, {0, 0, 2.3}, {0, 1, 5.6},
                  {0, 2, 11.1}, {0, 3, 1.3}, {2, 0, 1.0}, {2, 1, 1.0}, {2, 2, 1.0}, {2, 3, 1.0}}});
  out.push_back({"hs076", 4, 3, hs076, {0.5, 0.5, 0.5, 0.5}, {0, 0, 0, 0}, {}, {-INF, -INF, 1.5},
                 {5, 4, INF}, -103.0 / 22.0, {3.0 / 11, 23.0 / 11, 0, 6.0 / 11}, true,
                 {{-1, 0, -1.0}, {-1, 1, -3.0}, {-1, 2, 1.0}, {-1, 3, -1.0},
                  {0, 0, 1.0}, {0, 1, 2.0}, {0, 2, 1.0}, {0, 3, 1.0},
                  {1, 0, 3.0}, {1, 1, 1.0}, {1, 2, 2.0}, {1, 3, -1.0},
                  {2, 1, 1.0}, {2, 2, 4.0}}});
  out.push_back({"hs077", 5, 2, hs077, {2, 2, 2, 2, 2}, {}, {}, {2 * SQ2, 8 + SQ2}, {2 * SQ2, 8 + SQ2},
                 0.24150513, {1.166172, 1.182111, 1.380257, 1.506036, 0.6109203}});
  const std::vector<double> x78 = {-1.717143, 1.595709, 1.827247, -0.7636413, -0.7636450};
  out.push_back({"hs078", 5, 3, hs078, {-2, 1.5, 2, -1, -1}, {}, {}, {10, 0, -1}, {10, 0, -1},
                 -2.91970041, x78});
  out.push_back({"hs079", 5, 3, hs079, {2, 2, 2, 2, 2}, {}, {}, {2 + 3 * SQ2, -2 + 2 * SQ2, 2},
                 {2 + 3 * SQ2, -2 + 2 * SQ2, 2}, 0.0787768209,
                 {1.191127, 1.362603, 1.472818, 1.635017, 1.679081}});
  const std::vector<double> lo80 = {-2.3, -2.3, -3.2, -3.2, -3.2}, up80 = {2.3, 2.3, 3.2, 3.2, 3.2};
  out.push_back({"hs080", 5, 3, hs080, {-2, 2, 2, -1, -1}, lo80, up80, {10, 0, -1}, {10, 0, -1},
                 0.0539498478, x78});
  out.push_back({"hs081", 5, 3, hs081, {-2, 2, 2, -1, -1}, lo80, up80, {10, 0, -1}, {10, 0, -1},
                 0.0539498478, x78});
  out.push_back({"hs083", 5, 3, hs083, {78, 33, 27, 27, 27}, {78, 33, 27, 27, 27}, {102, 45, 45, 45, 45},
                 {-85.334407, 90 - 80.51249, 20 - 9.300961}, {92 - 85.334407, 110 - 80.51249, 25 - 9.300961},
                 -30665.53867, {78, 33, 29.99526, 45, 36.77581}, false, {}, -40792.141});
  out.push_back({"hs093", 6, 2, hs093, {5.54, 4.4, 12.02, 11.82, 0.702, 0.852},
                 std::vector<double>(6, 0.0), {}, {2.07, -INF}, {INF, 1}, 135.075961,
                 {5.332666, 4.656744, 10.43299, 12.08230, 0.7526074, 0.87865084}});
  out.push_back({"hs100", 7, 4, hs100, {1, 2, 0, 4, 0, 1, 1}, {}, {}, {-127, -282, -196, 0},
                 std::vector<double>(4, INF), 680.6300573,
                 {2.330499, 1.951372, -0.4775414, 4.365726, -0.6244870, 1.038131, 1.594227}});
  out.push_back({"hs104", 8, 5, hs104, {6, 3, 0.4, 0.2, 6, 6, 1, 0.5}, std::vector<double>(8, 0.1),
                 std::vector<double>(8, 10.0), {-1, -1, -1, -1, 0.1 - 10}, {INF, INF, INF, INF, 4.2 - 10},
                 3.9511634,
                 {6.465114, 2.232709, 0.6673975, 0.5957564, 5.932676, 5.527235, 1.013322, 0.4006682},
                 false, {}, 10.0});
  out.push_back({"hs106", 8, 6, hs106, {5000, 5000, 5000, 200, 350, 150, 225, 425},
                 {100, 1000, 1000, 10, 10, 10, 10, 10}, {10000, 10000, 10000, 1000, 1000, 1000, 1000, 1000},
                 {-INF, -INF, -INF, -83333.333, 0, 1250000}, {1, 1, 1, INF, INF, INF}, 7049.2480205,
                 {579.3167, 1359.943, 5110.071, 182.0174, 295.5985, 217.9799, 286.4162, 395.5979}, false,
                 {{-1, 0, 1.0}, {-1, 1, 1.0}, {-1, 2, 1.0}, {0, 3, 0.0025}, {0, 5, 0.0025},
                  {1, 4, 0.0025}, {1, 6, 0.0025}, {1, 3, -0.0025}, {2, 7, 0.01}, {2, 4, -0.01}}});
  out.push_back({"hs110", 10, 0, hs110, std::vector<double>(10, 9.0), std::vector<double>(10, 2.001),
                 std::vector<double>(10, 9.999), {}, {}, -45.77846971, std::vector<double>(10, 9.35025655)});
  std::vector<double> lo108(9, -INF);
  lo108[8] = 0.0;
  out.push_back({"hs108", 9, 13, hs108, std::vector<double>(9, 1.0), lo108, {},
                 {-1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0}, std::vector<double>(13, INF),
                 -0.8660254,
                 {0.8841292, 0.4672425, 0.03742076, 0.9992996, 0.8841292, 0.4672424, 0.03742076,
                  0.9992996, 0.0}});
  out.push_back({"hs113", 10, 8, hs113, {2, 3, 5, 5, 1, 2, 7, 3, 6, 10}, {}, {},
                 {-105, 0, -12, -120, -40, -30, 0, 0}, std::vector<double>(8, INF), 24.3062091,
                 {2.171996, 2.363683, 8.773926, 5.095984, 0.9906548, 1.430574, 1.321644, 9.828726,
                  8.280092, 8.375927},
                 true,
                 {{0, 0, -4.0}, {0, 1, -5.0}, {0, 6, 3.0}, {0, 7, -9.0}, {1, 0, -10.0}, {1, 1, 8.0},
                  {1, 6, 17.0}, {1, 7, -2.0}, {2, 0, 8.0}, {2, 1, -2.0}, {2, 8, -5.0}, {2, 9, 2.0}},
                 45.0});
  out.push_back(hs118problem());
  // min -3 x1 - 5 x2: x1 <= 4, 2 x2 <= 12, 3 x1 + 2 x2 <= 18, x >= 0
  out.push_back({"lp_product_mix", 2, 3, nullptr, {1, 1}, {0, 0}, {}, {-INF, -INF, -INF}, {4, 12, 18},
                 -36.0, {2, 6}, true,
                 {{-1, 0, -3.0}, {-1, 1, -5.0}, {0, 0, 1.0}, {1, 1, 2.0}, {2, 0, 3.0}, {2, 1, 2.0}}});
  // min x1 + 2 x2 + 3 x3: x1 + x2 + x3 = 1, -0.5 <= x1 - x2 <= 0.5, x >= 0
  out.push_back({"lp_range", 3, 2, nullptr, {1.0 / 3, 1.0 / 3, 1.0 / 3}, {0, 0, 0}, {}, {1, -0.5},
                 {1, 0.5}, 1.25, {0.75, 0.25, 0}, true,
                 {{-1, 0, 1.0}, {-1, 1, 2.0}, {-1, 2, 3.0}, {0, 0, 1.0}, {0, 1, 1.0}, {0, 2, 1.0},
                  {1, 0, 1.0}, {1, 1, -1.0}}});
}
