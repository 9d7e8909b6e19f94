// Runs the command-line tool (MORVEX_TOOL) as a user would and reads what
// it reports: the summary line of its output and, in AMPL mode, the
// solution file read back through the AMPL library.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "apps/nl_model.h"

struct ToolSummary {
  bool found = false;
  int status = 1;
  double objective = NAN;
  int iterations = -1;
};

struct ToolRun {
  std::string output;  // standard output and error
  int exitCode = -1;
  ToolSummary summary;
};

// The last line of the form "morvex: MODEL status=... objective=...".
inline ToolSummary toolParseSummary(const std::string &output) {
  ToolSummary s;
  std::istringstream in(output);
  std::string line;
  while (std::getline(in, line)) {
    const size_t st = line.find(" status=");
    if (line.rfind("morvex: ", 0) != 0 || st == std::string::npos) continue;
    ToolSummary t;
    t.found = std::sscanf(line.c_str() + st, " status=%d objective=%lf", &t.status, &t.objective) == 2;
    const size_t it = line.find(" iterations=");
    if (it != std::string::npos) std::sscanf(line.c_str() + it, " iterations=%d", &t.iterations);
    if (t.found) s = t;
  }
  return s;
}

// `env` is put before the command (VAR=value words), `args` after it.
inline ToolRun toolRun(const std::string &args, const std::string &env = "") {
  ToolRun r;
  const std::string cmd = env + " " + MORVEX_TOOL + " " + args + " 2>&1";
  FILE *p = popen(cmd.c_str(), "r");
  if (p == nullptr) return r;
  char buf[4096];
  size_t got = 0;
  while ((got = std::fread(buf, 1, sizeof buf, p)) > 0) r.output.append(buf, got);
  const int st = pclose(p);
  r.exitCode = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  r.summary = toolParseSummary(r.output);
  return r;
}

// A solve in AMPL mode on a copy of the model in a scratch directory, and
// the solution file it wrote read back for the same model.
struct AmplSolve {
  ToolRun run;
  NlModelPtr model;
  bool solRead = false;
  std::string message;
  std::vector<double> x, y;
  int solveResultNum = -1;
};

inline AmplSolve toolSolveAmpl(const std::string &source, const std::string &options,
                               const std::string &args = "") {
  AmplSolve a;
  char tmpl[] = "/tmp/mxamplXXXXXX";
  const std::string dir = mkdtemp(tmpl);
  const std::string stub = dir + "/model";
  if (std::system(("cp '" + source + "' " + stub + ".nl").c_str()) != 0) return a;
  a.run = toolRun(stub + " -AMPL " + args, "morvex_options='" + options + "'");
  std::string error;
  a.model = nlRead(stub + ".nl", error);
  if (a.model) a.solRead = nlReadSolution(*a.model, stub + ".sol", a.message, a.x, a.y, a.solveResultNum);
  std::system(("rm -rf " + dir).c_str());
  return a;
}

// The point lies in its bounds and satisfies the constraints up to `tol`
// (relative to the size of the bound), and the AMPL library's objective
// there is the one the tool printed.
inline void expectSolutionConsistent(AmplSolve &a, double tol) {
  const NlBounds b = nlBounds(*a.model);
  ASSERT_EQ(a.x.size(), b.varLo.size());
  auto slack = [tol](double v, double lo, double up) {
    return v >= lo - tol * std::max(1.0, std::fabs(lo)) && v <= up + tol * std::max(1.0, std::fabs(up));
  };
  for (size_t j = 0; j < a.x.size(); ++j) EXPECT_TRUE(slack(a.x[j], b.varLo[j], b.varUp[j])) << "x[" << j << "]";
  std::vector<double> c(b.conLo.size() + 1);
  double obj = NAN;
  ASSERT_TRUE(nlEvaluate(*a.model, a.x.data(), &obj, c.data()));
  for (size_t i = 0; i < b.conLo.size(); ++i)
    EXPECT_TRUE(slack(c[i], b.conLo[i], b.conUp[i])) << "c[" << i << "] = " << c[i];
  EXPECT_NEAR(obj, a.run.summary.objective, 1e-9 * std::max(1.0, std::fabs(obj)));
}
