// AMPL .nl models through the AMPL solver library: reading (text or binary,
// plain or gzip-compressed) and loading into a Morvex context. Linear
// constraints and a linear objective go in as structure; the nonlinear part
// is one evaluation callback with exact first and second derivatives.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "morvex.h"

struct NlModel;

struct NlModelDeleter {
  void operator()(NlModel *m) const;
};
using NlModelPtr = std::unique_ptr<NlModel, NlModelDeleter>;

struct NlSummary {
  int n = 0, m = 0;
  int nonlinearCons = 0;
  int nonlinearObj = 0;
  int integers = 0, binaries = 0;
  int maximize = 0;
  int hasObjective = 0;
};

// Reads the model; null with a message in `error` on failure.
NlModelPtr nlRead(const std::string &path, std::string &error);
NlSummary nlSummary(const NlModel &model);

// Fills an empty context with the model. Returns 0 or the failing call's code.
int nlLoad(NlModel &model, MX_context_ptr kc);

// Direct evaluation by the AMPL library, for checks: objective (with its
// constant) and all constraint bodies at x. Returns false on an evaluation error.
bool nlEvaluate(NlModel &model, const double *x, double *obj, double *c);
// The model's start point (zeros where none was given).
std::vector<double> nlStartPoint(const NlModel &model);

// Bounds of the variables and constraints as the model states them
// (infinite where absent), for checks of a point.
struct NlBounds {
  std::vector<double> varLo, varUp, conLo, conUp;
};
NlBounds nlBounds(const NlModel &model);

// Writes the AMPL solution file (stub.sol) with a message, x and the
// constraint multipliers, and the solve_result_num.
bool nlWriteSolution(NlModel &model, const std::string &message, const double *x, const double *y,
                     int solveResultNum);

// The AMPL library's own gradients, for checks: objective (n) and one
// constraint (n, dense).
bool nlObjGradient(NlModel &model, const double *x, double *g);
bool nlConGradient(NlModel &model, int i, const double *x, double *g);

// Reads a solution file written for this model: the message, x, the
// multipliers and the solve_result_num. False when it cannot be read.
bool nlReadSolution(NlModel &model, const std::string &solPath, std::string &message, std::vector<double> &x,
                    std::vector<double> &y, int &solveResultNum);
