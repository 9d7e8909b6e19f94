// Hock-Schittkowski problems 1 to 30. Indices are 0-based: x[0] is x1.
#include <cmath>

#include "hs/hs_terms.h"

using namespace hs;

namespace {

const double INF = HS_INF;
const double SQ3 = std::sqrt(3.0);

// 100 (x2 - x1^2)^2 + (1 - x1)^2
void hs001(HsEval &e) { rosen(e, -1, 1.0, 0, 1); }

// x2 + 1e-5 (x2 - x1)^2
void hs003(HsEval &e) {
  lin(e, -1, 1.0, 1);
  powdiff(e, -1, 1e-5, 1, 0, 0.0, 2);
}

// (x1 + 1)^3 / 3; the term x2 is linear structure.
void hs004(HsEval &e) { powdiff(e, -1, 1.0 / 3.0, 0, -1, -1.0, 3); }

// sin(x1 + x2) + (x1 - x2)^2; -1.5 x1 + 2.5 x2 + 1 is structure.
void hs005(HsEval &e) {
  const double s = std::sin(e.x[0] + e.x[1]), c = std::cos(e.x[0] + e.x[1]);
  e.f += s;
  e.G(0, c);
  e.G(1, c);
  e.Hf(0, 0, -s);
  e.Hf(0, 1, -s);
  e.Hf(1, 1, -s);
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
}

// (1 - x1)^2;  10 (x2 - x1^2) = 0
void hs006(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 1.0, 2);
  powdiff(e, 0, -10.0, 0, -1, 0.0, 2);
  lin(e, 0, 10.0, 1);
}

// ln(1 + x1^2) (- x2 is structure);  (1 + x1^2)^2 + x2^2 = 4
void hs007(HsEval &e) {
  const double x = e.x[0], u = 1.0 + x * x;
  e.f += std::log(u);
  e.G(0, 2.0 * x / u);
  e.Hf(0, 0, 2.0 * (1.0 - x * x) / (u * u));
  e.c[0] += u * u;
  e.J(0, 0, 4.0 * x * u);
  e.Hc(0, 0, 0, 4.0 + 12.0 * x * x);
  powdiff(e, 0, 1.0, 1, -1, 0.0, 2);
}

// constant objective -1;  x1^2 + x2^2 = 25;  x1 x2 = 9
void hs008(HsEval &e) {
  powdiff(e, 0, 1.0, 0, -1, 0.0, 2);
  powdiff(e, 0, 1.0, 1, -1, 0.0, 2);
  bilin(e, 1, 1.0, 0, 1);
}

// sin(pi x1 / 12) cos(pi x2 / 16); the constraint 4 x1 - 3 x2 = 0 is structure.
void hs009(HsEval &e) {
  const double a = M_PI / 12.0, b = M_PI / 16.0;
  const double sa = std::sin(a * e.x[0]), ca = std::cos(a * e.x[0]);
  const double sb = std::sin(b * e.x[1]), cb = std::cos(b * e.x[1]);
  e.f += sa * cb;
  e.G(0, a * ca * cb);
  e.G(1, -b * sa * sb);
  e.Hf(0, 0, -a * a * sa * cb);
  e.Hf(0, 1, -a * b * ca * sb);
  e.Hf(1, 1, -b * b * sa * cb);
}

// objective x1 - x2 is structure;  -3 x1^2 + 2 x1 x2 - x2^2 >= -1
void hs010(HsEval &e) {
  powdiff(e, 0, -3.0, 0, -1, 0.0, 2);
  bilin(e, 0, 2.0, 0, 1);
  powdiff(e, 0, -1.0, 1, -1, 0.0, 2);
}

// (x1 - 5)^2 + x2^2 - 25;  -x1^2 + x2 >= 0
void hs011(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 5.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  e.f -= 25.0;
  powdiff(e, 0, -1.0, 0, -1, 0.0, 2);
  lin(e, 0, 1.0, 1);
}

// 0.5 x1^2 + x2^2 - x1 x2 (- 7 x1 - 7 x2 structure);  -4 x1^2 - x2^2 >= -25
void hs012(HsEval &e) {
  powdiff(e, -1, 0.5, 0, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  bilin(e, -1, -1.0, 0, 1);
  powdiff(e, 0, -4.0, 0, -1, 0.0, 2);
  powdiff(e, 0, -1.0, 1, -1, 0.0, 2);
}

// (x1 - 2)^2 + x2^2;  (1 - x1)^3 - x2 >= 0: the constraint qualification
// fails at the solution (1, 0).
void hs013(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 2.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  powdiff(e, 0, -1.0, 0, -1, 1.0, 3);
  lin(e, 0, -1.0, 1);
}

// (x1 - 2)^2 + (x2 - 1)^2;  x1 - 2 x2 = -1 (structure);  -x1^2/4 - x2^2 >= -1
void hs014(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 2.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 1.0, 2);
  powdiff(e, 1, -0.25, 0, -1, 0.0, 2);
  powdiff(e, 1, -1.0, 1, -1, 0.0, 2);
}

// Rosenbrock;  x1 x2 >= 1;  x1 + x2^2 >= 0
void hs015(HsEval &e) {
  rosen(e, -1, 1.0, 0, 1);
  bilin(e, 0, 1.0, 0, 1);
  lin(e, 1, 1.0, 0);
  powdiff(e, 1, 1.0, 1, -1, 0.0, 2);
}

// Rosenbrock;  x1 + x2^2 >= 0;  x1^2 + x2 >= 0
void hs016(HsEval &e) {
  rosen(e, -1, 1.0, 0, 1);
  lin(e, 0, 1.0, 0);
  powdiff(e, 0, 1.0, 1, -1, 0.0, 2);
  powdiff(e, 1, 1.0, 0, -1, 0.0, 2);
  lin(e, 1, 1.0, 1);
}

// Rosenbrock;  x1 + x2^2 >= 0;  x1^2 + x2 >= 0;  x1^2 + x2^2 >= 1
void hs020(HsEval &e) {
  hs016(e);
  powdiff(e, 2, 1.0, 0, -1, 0.0, 2);
  powdiff(e, 2, 1.0, 1, -1, 0.0, 2);
}

// 0.01 x1^2 + x2^2;  x1 x2 >= 25;  x1^2 + x2^2 >= 25
void hs018(HsEval &e) {
  powdiff(e, -1, 0.01, 0, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  bilin(e, 0, 1.0, 0, 1);
  powdiff(e, 1, 1.0, 0, -1, 0.0, 2);
  powdiff(e, 1, 1.0, 1, -1, 0.0, 2);
}

// (x1 - 10)^3 + (x2 - 20)^3;  (x1-5)^2 + (x2-5)^2 >= 100;  -(x2-5)^2 - (x1-6)^2 >= -82.81
void hs019(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 10.0, 3);
  powdiff(e, -1, 1.0, 1, -1, 20.0, 3);
  powdiff(e, 0, 1.0, 0, -1, 5.0, 2);
  powdiff(e, 0, 1.0, 1, -1, 5.0, 2);
  powdiff(e, 1, -1.0, 1, -1, 5.0, 2);
  powdiff(e, 1, -1.0, 0, -1, 6.0, 2);
}

// 0.01 x1^2 + x2^2 (- 100 structure);  10 x1 - x2 >= 10 (structure)
void hs021(HsEval &e) {
  powdiff(e, -1, 0.01, 0, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
}

// (x1 - 2)^2 + (x2 - 1)^2;  -x1 - x2 >= -2 (structure);  -x1^2 + x2 >= 0
void hs022(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 2.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 1.0, 2);
  powdiff(e, 1, -1.0, 0, -1, 0.0, 2);
  lin(e, 1, 1.0, 1);
}

// x1^2 + x2^2;  x1 + x2 >= 1 (structure);  x1^2 + x2^2 >= 1;  9 x1^2 + x2^2 >= 9;
// x1^2 - x2 >= 0;  x2^2 - x1 >= 0
void hs023(HsEval &e) {
  powdiff(e, -1, 1.0, 0, -1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, -1, 0.0, 2);
  powdiff(e, 1, 1.0, 0, -1, 0.0, 2);
  powdiff(e, 1, 1.0, 1, -1, 0.0, 2);
  powdiff(e, 2, 9.0, 0, -1, 0.0, 2);
  powdiff(e, 2, 1.0, 1, -1, 0.0, 2);
  powdiff(e, 3, 1.0, 0, -1, 0.0, 2);
  lin(e, 3, -1.0, 1);
  powdiff(e, 4, 1.0, 1, -1, 0.0, 2);
  lin(e, 4, -1.0, 0);
}

// ((x1 - 3)^2 - 9) x2^3 / (27 sqrt 3); three linear constraints in the routine
void hs024(HsEval &e) {
  const double k = 1.0 / (27.0 * SQ3), a = e.x[0] - 3.0, y = e.x[1];
  const double q = a * a - 9.0;
  e.f += k * q * y * y * y;
  e.G(0, k * 2.0 * a * y * y * y);
  e.G(1, k * 3.0 * q * y * y);
  e.Hf(0, 0, k * 2.0 * y * y * y);
  e.Hf(0, 1, k * 6.0 * a * y * y);
  e.Hf(1, 1, k * 6.0 * q * y);
  lin(e, 0, 1.0 / SQ3, 0);
  lin(e, 0, -1.0, 1);
  lin(e, 1, 1.0, 0);
  lin(e, 1, SQ3, 1);
  lin(e, 2, -1.0, 0);
  lin(e, 2, -SQ3, 1);
}

// (x1 - x2)^2 + (x2 - x3)^4;  (1 + x2^2) x1 + x3^4 = 3
void hs026(HsEval &e) {
  powdiff(e, -1, 1.0, 0, 1, 0.0, 2);
  powdiff(e, -1, 1.0, 1, 2, 0.0, 4);
  const double x1 = e.x[0], x2 = e.x[1];
  e.c[0] += (1.0 + x2 * x2) * x1;
  e.J(0, 0, 1.0 + x2 * x2);
  e.J(0, 1, 2.0 * x1 * x2);
  e.Hc(0, 0, 1, 2.0 * x2);
  e.Hc(0, 1, 1, 2.0 * x1);
  powdiff(e, 0, 1.0, 2, -1, 0.0, 4);
}

// 0.01 (x1 - 1)^2 + (x2 - x1^2)^2;  x1 + x3^2 = -1
void hs027(HsEval &e) {
  const double a = e.x[1] - e.x[0] * e.x[0];
  powdiff(e, -1, 0.01, 0, -1, 1.0, 2);
  e.f += a * a;
  e.G(0, -4.0 * e.x[0] * a);
  e.G(1, 2.0 * a);
  e.Hf(0, 0, 12.0 * e.x[0] * e.x[0] - 4.0 * e.x[1]);
  e.Hf(0, 1, -4.0 * e.x[0]);
  e.Hf(1, 1, 2.0);
  lin(e, 0, 1.0, 0);
  powdiff(e, 0, 1.0, 2, -1, 0.0, 2);
}

// (x1 + x2)^2 + (x2 + x3)^2;  x1 + 2 x2 + 3 x3 = 1 (structure)
void hs028(HsEval &e) {
  const double a = e.x[0] + e.x[1], b = e.x[1] + e.x[2];
  e.f += a * a + b * b;
  e.G(0, 2.0 * a);
  e.G(1, 2.0 * a + 2.0 * b);
  e.G(2, 2.0 * b);
  e.Hf(0, 0, 2.0);
  e.Hf(0, 1, 2.0);
  e.Hf(1, 1, 4.0);
  e.Hf(1, 2, 2.0);
  e.Hf(2, 2, 2.0);
}

// -x1 x2 x3;  -x1^2 - 2 x2^2 - 4 x3^2 >= -48
void hs029(HsEval &e) {
  prod(e, -1, -1.0, {0, 1, 2});
  powdiff(e, 0, -1.0, 0, -1, 0.0, 2);
  powdiff(e, 0, -2.0, 1, -1, 0.0, 2);
  powdiff(e, 0, -4.0, 2, -1, 0.0, 2);
}

// x1^2 + x2^2 + x3^2;  x1^2 + x2^2 >= 1
void hs030(HsEval &e) {
  for (int j = 0; j < 3; ++j) powdiff(e, -1, 1.0, j, -1, 0.0, 2);
  powdiff(e, 0, 1.0, 0, -1, 0.0, 2);
  powdiff(e, 0, 1.0, 1, -1, 0.0, 2);
}

}  // namespace

void hsAddProblems1to30(std::vector<HsProblem> &out) {
  const double x11 = 1.234772825053297;  // root of 2 t^3 + t - 5
  const double x19 = 5.0 - std::sqrt(100.0 - 9.095 * 9.095);
  const double s7 = std::sqrt(7.0), x8 = std::sqrt((25.0 + std::sqrt(301.0)) / 2.0);
  out.push_back({"hs001", 2, 0, hs001, {-2, 1}, {-INF, -1.5}, {}, {}, {}, 0.0, {1, 1}});
  out.push_back({"hs002", 2, 0, hs001, {-2, 1}, {-INF, 1.5}, {}, {}, {}, 0.050426188,
                 {1.2243707487363527, 1.5}});
  out.push_back({"hs003", 2, 0, hs003, {10, 1}, {-INF, 0}, {}, {}, {}, 0.0, {0, 0}, true});
  out.push_back({"hs004", 2, 0, hs004, {1.125, 0.125}, {1, 0}, {}, {}, {}, 8.0 / 3.0, {1, 0},
                 true, {{-1, 1, 1.0}}});
  out.push_back({"hs005", 2, 0, hs005, {0, 0}, {-1.5, -3}, {4, 3}, {}, {}, -1.9132229549810362,
                 {0.5 - M_PI / 3.0, -0.5 - M_PI / 3.0}, false, {{-1, 0, -1.5}, {-1, 1, 2.5}}, 1.0});
  out.push_back({"hs006", 2, 1, hs006, {-1.2, 1}, {}, {}, {0}, {0}, 0.0, {1, 1}});
  out.push_back({"hs007", 2, 1, hs007, {2, 2}, {}, {}, {4}, {4}, -SQ3, {0, SQ3}, false,
                 {{-1, 1, -1.0}}});
  out.push_back({"hs008", 2, 2, hs008, {2, 1}, {}, {}, {25, 9}, {25, 9}, -1.0, {x8, 9.0 / x8},
                 false, {}, -1.0});
  out.push_back({"hs009", 2, 1, hs009, {0, 0}, {}, {}, {0}, {0}, -0.5, {-3, -4}, false,
                 {{0, 0, 4.0}, {0, 1, -3.0}}});
  out.push_back({"hs010", 2, 1, hs010, {-10, 10}, {}, {}, {-1}, {INF}, -1.0, {0, 1}, false,
                 {{-1, 0, 1.0}, {-1, 1, -1.0}}});
  out.push_back({"hs011", 2, 1, hs011, {4.9, 0.1}, {}, {}, {0}, {INF}, -8.4984642,
                 {x11, x11 * x11}, true});
  out.push_back({"hs012", 2, 1, hs012, {0, 0}, {}, {}, {-25}, {INF}, -30.0, {2, 3}, true,
                 {{-1, 0, -7.0}, {-1, 1, -7.0}}});
  out.push_back({"hs013", 2, 1, hs013, {-2, -2}, {0, 0}, {}, {0}, {INF}, 1.0, {1, 0}, false, {}, 0.0, true});
  out.push_back({"hs014", 2, 2, hs014, {2, 2}, {}, {}, {-1, -1}, {-1, INF}, 9.0 - 23.0 * s7 / 8.0,
                 {0.5 * (s7 - 1.0), 0.25 * (s7 + 1.0)}, true, {{0, 0, 1.0}, {0, 1, -2.0}}});
  out.push_back({"hs015", 2, 2, hs015, {-2, 1}, {}, {0.5, INF}, {1, 0}, {INF, INF}, 306.5, {0.5, 2}});
  out.push_back({"hs016", 2, 2, hs016, {-2, 1}, {-0.5, -INF}, {0.5, 1}, {0, 0}, {INF, INF}, 0.25,
                 {0.5, 0.25}});
  out.push_back({"hs018", 2, 2, hs018, {2, 2}, {2, 0}, {50, 50}, {25, 25}, {INF, INF}, 5.0,
                 {std::sqrt(250.0), std::sqrt(2.5)}});
  out.push_back({"hs019", 2, 2, hs019, {20.1, 5.84}, {13, 0}, {100, 100}, {100, -82.81}, {INF, INF},
                 -6961.81381, {14.095, x19}});
  out.push_back({"hs020", 2, 3, hs020, {-2, 1}, {-0.5, -INF}, {0.5, INF}, {0, 0, 1}, {INF, INF, INF},
                 81.5 - 25.0 * SQ3, {0.5, 0.5 * SQ3}});
  out.push_back({"hs021", 2, 1, hs021, {-1, -1}, {2, -50}, {50, 50}, {10}, {INF}, -99.96, {2, 0},
                 true, {{0, 0, 10.0}, {0, 1, -1.0}}, -100.0});
  out.push_back({"hs022", 2, 2, hs022, {2, 2}, {}, {}, {-2, 0}, {INF, INF}, 1.0, {1, 1}, true,
                 {{0, 0, -1.0}, {0, 1, -1.0}}});
  out.push_back({"hs023", 2, 5, hs023, {3, 1}, {-50, -50}, {50, 50}, {1, 1, 9, 0, 0},
                 {INF, INF, INF, INF, INF}, 2.0, {1, 1}, false, {{0, 0, 1.0}, {0, 1, 1.0}}});
  out.push_back({"hs024", 2, 3, hs024, {1, 0.5}, {0, 0}, {}, {0, 0, -6}, {INF, INF, INF}, -1.0,
                 {3, SQ3}});
  out.push_back({"hs026", 3, 1, hs026, {-2.6, 2, 2}, {}, {}, {3}, {3}, 0.0, {1, 1, 1}});
  out.push_back({"hs027", 3, 1, hs027, {2, 2, 2}, {}, {}, {-1}, {-1}, 0.04, {-1, 1, 0}});
  out.push_back({"hs028", 3, 1, hs028, {-4, 1, 1}, {}, {}, {1}, {1}, 0.0, {0.5, -0.5, 0.5}, true,
                 {{0, 0, 1.0}, {0, 1, 2.0}, {0, 2, 3.0}}});
  out.push_back({"hs029", 3, 1, hs029, {1, 1, 1}, {}, {}, {-48}, {INF}, -16.0 * std::sqrt(2.0),
                 {4, 2 * std::sqrt(2.0), 2}});
  out.push_back({"hs030", 3, 1, hs030, {1, 1, 1}, {1, -10, -10}, {10, 10, 10}, {1}, {INF}, 1.0,
                 {1, 0, 0}});
}
