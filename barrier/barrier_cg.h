// State of the trust-region (conjugate-gradient) step of the barrier
// method: the projection system AUG = [I A'; A 0] over the full iterate,
// the normal and tangential steps, and what the projected CG left.
#pragma once

#include <cstdint>
#include <vector>

#include "linalg/engine.h"

// Exits of projectedCG (cgExit).
enum BarCGExit {
  BAR_CG_BAD_START = 1, BAR_CG_CONVERGED = 2, BAR_CG_NEG_CURVATURE = 3, BAR_CG_BOUNDARY = 4,
  BAR_CG_LIMIT = 5, BAR_CG_BLOWUP = 6, BAR_CG_RESTART = 7, BAR_CG_TIME = 8
};

// The projection system with the slack columns eliminated: primal block
// identity, a row with slack s has the diagonal -(s^2 + regAUG).
struct BarAUG {
  int dim = 0;
  std::vector<int> irn, jcn;
  std::vector<double> val;
  std::vector<int64_t> diagPos;   // matrix index -> value position
  std::vector<int64_t> jacPos;    // model Jacobian entry (per row copy) -> value position
  std::vector<int> jacRow, jacEntry;
  std::vector<int64_t> varRowPos; // rows on variables -> value position of (row, var)
  std::vector<int64_t> penPos;    // (row, elastic slot) -> value position, -1 none
  LinSystem sys;
  bool analysed = false, factored = false;
  int negEig = 0;
  double regAUG = 0.0;
  int regAUGLevel = 0;
  double pivotTol = 1e-8;
  std::vector<double> rhs, sol, res;
  std::vector<double> diag;  // metric of the projection (empty: identity)
  // Every row a bound row with a slack: the system splits into one small
  // block per variable and is solved in closed form, without the engine.
  bool boundsOnly = false;
  std::vector<double> rowD, varDen;  // row diagonal d_k; D_i + sum_k 1 / d_k
};

struct BarCG {
  bool allocated = false;
  BarAUG aug;
  BarAUG prec;                   // projection in the metric of diag(W), cg_precond 1
  bool precOk = false;
  bool factoredHere = false;     // the AUG factor belongs to the current point
  std::vector<double> normal, tangent, An;   // n-step, t-step, A n (mFull)
  std::vector<double> gN;                    // gradPhi + W n
  std::vector<double> r, y, p, Hp, tFirst, work, workRows;
  std::vector<double> lambdaLS;              // multipliers of the last projection
  double normalNormSq = 0.0, tangentRadiusSq = 0.0;
  double normalModel = 0.0;                  // ||c + A n||
  double normalAngle = 0.0;
  double tangentScale = 1.0;                 // the multiple of t kept
  int cgIterations = 0, cgIterationsTotal = 0;
  int cgExit = 0;
  bool freeNormalStep = false;
  bool normalStepReused = false;
  bool projectionSuspect = false, raisePivot = false;
  int lastKind = 2;                          // kind of the last step tried
  int cgMaxit = 0;
};
