// A test problem as a library model built through the public calls, the
// solution read back, and an independent check of its KKT conditions.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hs/hs_problems.h"
#include "morvex.h"

// The whole model at one point in dense form: the routine and the linear
// structure together, as the library sees them. J is m x n by rows; H is
// the full symmetric n x n matrix of sigma H(f) + sum lambda_i H(c_i).
struct HsDense {
  double f = 0.0;
  std::vector<double> c, g, J, H;
};
HsDense hsEvaluate(const HsProblem &p, const double *x, double sigma = 1.0,
                   const double *lambda = nullptr);

// The callback's patterns, found by one probe evaluation of the routine.
struct HsPattern {
  bool obj = false;
  std::vector<int> cons;  // constraints the routine touches
  std::vector<int> gradVars, jacRows, jacVars, hessRows, hessCols;
  std::map<std::pair<int, int>, int> gradAt, jacAt, hessAt;  // coordinate -> position
  std::vector<int> conAt;                                   // constraint -> position or -1
};
HsPattern hsProbePattern(const HsProblem &p);

struct HsOptions {
  std::vector<std::pair<int, int>> ints;
  std::vector<std::pair<int, double>> dbls;
  std::vector<std::pair<int, std::string>> strs;
};

// Owns the context; the callback reads the problem and the pattern here.
struct HsModel {
  const HsProblem *problem = nullptr;
  HsPattern pattern;
  MX_context_ptr kc = nullptr;
  int buildRc = 0;          // first failing call, 0 when the build succeeded
  std::string failedCall;
  HsModel() = default;
  HsModel(const HsModel &) = delete;
  HsModel &operator=(const HsModel &) = delete;
  ~HsModel() {
    if (kc != nullptr) MX_free(&kc);
  }
};
std::unique_ptr<HsModel> hsBuild(const HsProblem &p, const HsOptions &opt = {});

// The routine the builder installs for every request type; userParams is
// the HsModel.
int hsCallback(MX_context_ptr kc, MX_cb_context_ptr cb, MX_eval_request_ptr q, MX_eval_result_ptr r,
               void *user);

struct HsSolution {
  int rc = 0;                  // return code of MX_solve
  double f = 0.0;
  std::vector<double> x, lambda;  // lambda: m constraints, then n bounds
  int iters = 0, cgIters = 0;
  int hessEvals = 0, hessVecEvals = 0;
};
HsSolution hsSolve(HsModel &model);

// Errors of a point and multipliers, from the problem's own derivatives:
//   feas: largest bound violation, each divided by max(1, |bound|);
//   stat: ||grad f + J' lambda_c + lambda_b||_inf / max(1, ||grad f||_inf);
//   comp: largest |lambda| * distance to the bound on the side its sign names
//         (the whole |lambda| when that side has no bound), over the same scale.
// Signs: lambda <= 0 at an active lower bound, >= 0 at an active upper bound.
struct HsKkt {
  double feas = 0.0, stat = 0.0, comp = 0.0;
};
HsKkt hsKktCheck(const HsProblem &p, const double *x, const double *lambda);
