// The presolved model (Pre) and its maps to the model as given (App).
//
// The algorithms see only Pre: its variables, constraints, bounds and the
// sense of minimisation. Reductions are kept on a stack that the maps
// replay; with the empty stack every map is the identity apart from the
// objective's sense, so the algorithms call the maps unconditionally and the
// reductions plug in without touching them.
#pragma once

#include <cstdint>
#include <vector>

struct MXL_context;

struct PresolveOp {
  int id = 0, type = 0, typeIndex = 0;
};

struct PreModel {
  int n = 0, m = 0;
  std::vector<int> varPreToApp, conPreToApp;   // Pre index -> App index
  std::vector<int> varAppToPre, conAppToPre;   // App index -> Pre index or -1
  std::vector<double> xLo, xUp, cLo, cUp;      // bounds in force for Pre
  std::vector<int> conType;                    // MX_CONTYPE_* of each Pre constraint
  std::vector<PresolveOp> stack;               // reductions, replayed by the maps
  int64_t nnzJ = 0, nnzH = 0;
  double objSign = 1.0;                        // -1 turns a maximisation into a minimisation
  double objScale = 1.0;                       // factor of the objective seen by the algorithms
  std::vector<double> conScale;                // factor of each Pre constraint in the barrier's rows
  bool done = false;
  bool identity() const { return stack.empty() && n == static_cast<int>(varAppToPre.size()); }
};

// Runs once per solve: returns 1 when done (or skipped), else a negative
// status deduced by a reduction.
int presolveAnalyze(MXL_context *ctx);
// Builds the Pre arrays from the surviving variables and constraints.
void presolveSetStructure(MXL_context *ctx);
void presolveHess(MXL_context *ctx);

// Maps between the two models.
void presolveXPreToApp(const MXL_context *ctx, const double *xPre, double *xApp);
void presolveXAppToPre(const MXL_context *ctx, const double *xApp, double *xPre);
void presolveCAppToPre(const MXL_context *ctx, const double *cApp, double *cPre);
void presolveCPreToApp(const MXL_context *ctx, const double *cPre, double *cApp);
// The objective: sense and scale (Pre = objSign objScale App).
double presolveObjPreToApp(const MXL_context *ctx, double v);
double presolveObjAppToPre(const MXL_context *ctx, double v);
// The objective's factor from its gradient at the start point and the
// scale option: gradients above 100 are brought down to 100, by at most
// 1e-8; a user factor takes precedence under scale 1 and 2.
void presolveSetObjScale(MXL_context *ctx, const double *gradApp);
// The constraints' factors from the Jacobian at the start point: rows whose
// largest entry exceeds 1000 are brought down to 100, by at most 1e-8;
// user factors take precedence under scale 1 and 2.
void presolveSetConScale(MXL_context *ctx, const double *jacApp);
// Multipliers: m constraint entries then n bound entries on each side.
void presolveLambdaPreToApp(const MXL_context *ctx, const double *lPre, double *lApp);
// The replay around an evaluation (App to Pre) and back.
void presolveTransform(MXL_context *ctx);
void presolveUntransform(MXL_context *ctx);
