// Hock-Schittkowski test problems written by hand, with exact first and
// second derivatives, and a registry of them.
//
// A problem routine computes its part of the model at one point: the
// objective, the constraint bodies, and the nonzero derivatives as
// coordinate entries. The Hessian is the library's one, sigma * H(f) +
// sum_i lambda_i H(c_i), upper triangle only (i <= j); entries of one
// coordinate add up. A routine emits every entry of its pattern at every
// point, whatever the value, so that one probe evaluation gives the pattern.
// Linear terms may instead be listed in `linear`: the builder hands them
// to the library as structure, and hsEvaluate adds them in the same way.
#pragma once

#include <vector>

#include "morvex.h"

constexpr double HS_INF = MX_INFINITY;

struct HsEntry {
  int i, j;
  double v;
};

struct HsEval {
  const double *x = nullptr;
  double sigma = 1.0;
  const double *lambda = nullptr;  // constraint multipliers; null: all zero
  double f = 0.0;
  std::vector<double> c;           // sized m by the caller
  std::vector<HsEntry> grad, jac, hess;

  double lam(int k) const { return lambda != nullptr ? lambda[k] : 0.0; }
  void G(int j, double v) { grad.push_back({0, j, v}); }
  void J(int k, int j, double v) { jac.push_back({k, j, v}); }
  // Second derivative d2 f / dxi dxj (i <= j) and the same of constraint k.
  void Hf(int i, int j, double v) { hess.push_back({i, j, sigma * v}); }
  void Hc(int k, int i, int j, double v) { hess.push_back({i, j, lam(k) * v}); }
};

using HsRoutine = void (*)(HsEval &e);

// One linear term given as structure; row -1 is the objective.
struct HsLinear {
  int row, var;
  double coef;
};

struct HsProblem {
  const char *name;
  int n, m;
  HsRoutine eval;             // may be null when everything is linear structure
  std::vector<double> x0;     // standard start point
  std::vector<double> xlo;    // empty: no lower bounds
  std::vector<double> xup;    // empty: no upper bounds
  std::vector<double> clo;    // constraint bounds (HS_INF for none)
  std::vector<double> cup;
  double fstar;               // published optimal value
  std::vector<double> xstar;  // published solution, empty when not given
  bool convex = false;        // LP, convex QP or convex NLP
  std::vector<HsLinear> linear = {};
  double objConstant = 0.0;   // given through MX_add_obj_constant
  bool degenerate = false;    // no multipliers exist at x* (constraint qualification fails)
};

// Every problem, in name order of the files that define them.
const std::vector<HsProblem> &hsProblems();
const HsProblem *hsFind(const char *name);

// The registry parts, one per problem file.
void hsAddProblems1to30(std::vector<HsProblem> &out);
void hsAddProblems31to60(std::vector<HsProblem> &out);
void hsAddProblems61to119(std::vector<HsProblem> &out);
