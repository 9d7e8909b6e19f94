// The interior-point loop seen from outside: its ends (unbounded, limits,
// undefined start), the iteration log, the forms of the step system, and
// the inertia correction of nonconvex problems.
#include <algorithm>
#include <cmath>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hs/hs_build.h"
#include "morvex.h"

namespace {

struct Log {
  std::string text;
  static int put(const char *s, void *user) {
    static_cast<Log *>(user)->text += s;
    return 0;
  }
};

struct Outcome {
  int rc = 0;
  double f = 0.0;
  std::vector<double> x;
  std::string log;
};

Outcome solveHs(const char *name, std::vector<std::pair<const char *, int>> ints) {
  const HsProblem *p = hsFind(name);
  EXPECT_NE(p, nullptr) << name;
  std::unique_ptr<HsModel> m = hsBuild(*p, HsOptions{{{MX_PARAM_ALGORITHM, 1}}, {}});
  Log log;
  MX_set_puts_callback(m->kc, &Log::put, &log);
  for (const auto &o : ints) EXPECT_EQ(MX_set_int_param_by_name(m->kc, o.first, o.second), 0) << o.first;
  Outcome r;
  r.rc = MX_solve(m->kc);
  r.x.assign(p->n, 0.0);
  int status = 0;
  MX_get_solution(m->kc, &status, &r.f, r.x.data(), nullptr);
  r.log = log.text;
  return r;
}

// A one-variable model through the public calls: objective by callback.
struct Tiny {
  MX_context_ptr kc = nullptr;
  Log log;
  Tiny() {
    MX_new(&kc);
    MX_set_puts_callback(kc, &Log::put, &log);
    MX_set_int_param_by_name(kc, "outlev", 1);
  }
  ~Tiny() { MX_free(&kc); }
};

int nanObjective(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr req, MX_eval_result_ptr res, void *) {
  *res->obj = req->x[0] > 0.5 ? std::nan("") : (req->x[0] - 2.0) * (req->x[0] - 2.0);
  return 0;
}

TEST(BarrierEnds, UnboundedLimitsAndUndefinedStart) {
  {  // min x0 - x1^2 with x0 >= 0: unbounded along x1.
    Tiny t;
    ASSERT_EQ(MX_add_vars(t.kc, 2, nullptr), 0);
    ASSERT_EQ(MX_set_var_lobnd(t.kc, 0, 0.0), 0);
    ASSERT_EQ(MX_set_var_primal_init_value(t.kc, 1, 1.0), 0);
    ASSERT_EQ(MX_add_obj_linear_term(t.kc, 0, 1.0), 0);
    ASSERT_EQ(MX_add_obj_quadratic_term(t.kc, 1, 1, -1.0), 0);
    EXPECT_EQ(MX_solve(t.kc), MX_RC_UNBOUNDED) << t.log.text;
  }
  {  // A start that is already stationary ends at once, with the warning
     // that only first-order conditions were checked.
    Tiny t;
    ASSERT_EQ(MX_add_vars(t.kc, 1, nullptr), 0);
    ASSERT_EQ(MX_add_obj_quadratic_term(t.kc, 0, 0, 1.0), 0);
    EXPECT_EQ(MX_solve(t.kc), 0) << t.log.text;
    EXPECT_NE(t.log.text.find("WARNING: The initial point is a stationary point and only the first order\n"
                              "         optimality conditions have been verified.\n"),
              std::string::npos)
        << t.log.text;
  }
  {  // The iteration limit, at a point that is feasible or not.
    const Outcome r = solveHs("hs071", {{"maxit", 3}});
    EXPECT_TRUE(r.rc == MX_RC_ITER_LIMIT_FEAS || r.rc == MX_RC_ITER_LIMIT_INFEAS) << r.rc;
  }
  {  // An objective that is not defined at the start.
    Tiny t;
    MX_cb_context_ptr cb = nullptr;
    ASSERT_EQ(MX_add_vars(t.kc, 1, nullptr), 0);
    ASSERT_EQ(MX_set_var_primal_init_value(t.kc, 0, 1.0), 0);
    ASSERT_EQ(MX_add_eval_callback(t.kc, 1, 0, nullptr, nanObjective, &cb), 0);
    EXPECT_EQ(MX_solve(t.kc), MX_RC_EVAL_ERR) << t.log.text;
  }
}

// Rows of the iteration log: "%8u  %14.6e %11.3e %11.3e %11.3e  %7u\n".
std::vector<int> logRows(const std::string &log) {
  static const std::regex row(
      R"(^ *(\d+) +-?\d\.\d{6}e[+-]\d\d +\d\.\d{3}e[+-]\d\d +\d\.\d{3}e[+-]\d\d +\d\.\d{3}e[+-]\d\d +\d+$)");
  std::vector<int> iters;
  std::istringstream in(log);
  std::string line;
  while (std::getline(in, line)) {
    std::smatch m;
    // Fixed widths: 8 + 2 + 14 + 1 + 11 + 1 + 11 + 1 + 11 + 2 + 7 characters.
    if (std::regex_match(line, m, row) && line.size() == 69) iters.push_back(std::stoi(m[1]));
  }
  return iters;
}

TEST(BarrierLog, RowsAtLevelsTwoAndThree) {
  const Outcome all = solveHs("hs024", {{"outlev", 3}});
  ASSERT_EQ(all.rc, 0) << all.log;
  EXPECT_NE(all.log.find("  Iter      Objective      FeasError   OptError    ||Step||    CGits \n"
                         "--------  --------------  ----------  ----------  ----------  -------\n"),
            std::string::npos);
  const std::vector<int> rows3 = logRows(all.log);
  ASSERT_GE(rows3.size(), 3u) << all.log;
  for (size_t k = 0; k < rows3.size(); ++k) EXPECT_EQ(rows3[k], static_cast<int>(k + 1));
  const Outcome some = solveHs("hs024", {{"outlev", 2}});
  const std::vector<int> rows2 = logRows(some.log);
  ASSERT_FALSE(rows2.empty()) << some.log;
  for (size_t k = 0; k + 1 < rows2.size(); ++k) EXPECT_EQ(rows2[k] % 10, 0) << some.log;
  EXPECT_EQ(rows2.back(), rows3.back());  // the last iteration always shows
}

// All forms of the step system give the same step: after one iteration the
// points agree to rounding.
TEST(BarrierSystems, FormsGiveTheSameStep) {
  for (const char *name : {"hs071", "hs118", "hs035", "hs044"}) {
    const Outcome f1 = solveHs(name, {{"maxit", 1}, {"bar_linsys", 1}, {"outlev", 0}});
    for (int form : {2, 3}) {
      const Outcome f = solveHs(name, {{"maxit", 1}, {"bar_linsys", form}, {"outlev", 0}});
      for (size_t j = 0; j < f1.x.size(); ++j)
        EXPECT_NEAR(f.x[j], f1.x[j], 1e-9 * (1.0 + std::fabs(f1.x[j]))) << name << " form " << form << " x" << j;
    }
  }
}

// The pertH column of the direct-step rows printed at debug 1.
std::vector<double> pertHColumn(const std::string &log) {
  std::vector<double> out;
  std::istringstream in(log);
  std::string line;
  while (std::getline(in, line)) {
    if (line.find(" | ") == std::string::npos || line.find("TRY_") == std::string::npos) continue;
    std::istringstream fields(line.substr(line.find(" | ") + 3));
    std::vector<std::string> f;
    std::string w;
    while (fields >> w) f.push_back(w);
    if (f.size() == 7) out.push_back(std::stod(f[5]));
  }
  return out;
}

TEST(BarrierInertia, NonconvexProblemsShiftTheHessianAndConverge) {
  for (const char *name : {"hs007", "hs039", "hs056"}) {
    const Outcome r = solveHs(name, {{"debug", 1}, {"outlev", 2}});
    EXPECT_EQ(r.rc, 0) << name;
    EXPECT_NE(r.log.find("  Iter     mu      muDYN     cutAS_P   cutAS_D   ||dAS||  ||dlAS||"), std::string::npos);
    const std::vector<double> pert = pertHColumn(r.log);
    ASSERT_FALSE(pert.empty()) << name;
    EXPECT_GT(*std::max_element(pert.begin(), pert.end()), 0.0) << name;
  }
  // A convex problem never needs the shift.
  const std::vector<double> pert = pertHColumn(solveHs("hs035", {{"debug", 1}}).log);
  for (double p : pert) EXPECT_EQ(p, 0.0);
}

}  // namespace
