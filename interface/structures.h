// Structural terms of the model layer: evaluation callbacks, linear,
// quadratic and L2-norm terms. They are merged into the inner patterns at
// solve time; each term then records its place in the merged arrays, so an
// evaluation adds its value without any search.
#pragma once

#include <vector>

#include "interface/context.h"

// Origin of an entry of a merged Jacobian; an entry that several sources
// share carries the highest.
enum MxJacSource { MX_SRC_LINEAR = 1, MX_SRC_QUADRATIC = 2, MX_SRC_CALLBACK = 3, MX_SRC_CONIC = 4 };

// Pattern forms of a callback: an explicit list, or one of the dense forms.
enum MxPatternForm { MX_PATTERN_LIST = 0, MX_PATTERN_DENSE = -1,
                     MX_PATTERN_ROWMAJOR = -2, MX_PATTERN_COLMAJOR = -3 };

struct MXCB {
  MXL_context *owner = nullptr;
  int index = 0;
  int gradopt = 0;
  int evalObj = 0;
  int isLsq = 0;
  int gradSet = 0, hessSet = 0, rsdJacSet = 0;
  int numCons = 0;
  std::vector<int> indexCons;
  int numRsds = 0;
  std::vector<int> indexRsds;
  int objGradForm = MX_PATTERN_LIST;
  nnzint nnzObjGrad = 0;
  std::vector<int> objGradIndexVars;
  int jacForm = MX_PATTERN_LIST;
  nnzint nnzJ = 0;
  std::vector<int> jacIndexCons, jacIndexVars;
  int hessForm = MX_PATTERN_LIST;
  nnzint nnzH = 0;
  std::vector<int> hessIndexVars1, hessIndexVars2;
  int rsdJacForm = MX_PATTERN_LIST;
  nnzint nnzRsdJ = 0;
  std::vector<int> rsdJacIndexRsds, rsdJacIndexVars;
  std::vector<double> xRelStepSizes;  // n
  std::vector<int> constraintMask;    // m
  MX_cb_routine *funcCallback = nullptr;  // residual routine for a least-squares callback
  MX_cb_routine *gradCallback = nullptr;
  MX_cb_routine *hessCallback = nullptr;
  MX_cb_routine *rsdJacCallback = nullptr;
  void *userParams = nullptr;
  // Places in the merged arrays, one per pattern entry in the user's order.
  std::vector<nnzint> objGradPlace, jacPlace, hessPlace, rsdJacPlace;
};

// A list of linear terms (row, variable, coefficient) with the place of
// each in the merged pattern. Rows are constraints, residuals, or unused for
// the objective.
struct MxLinTerms {
  std::vector<int> rows, vars;
  std::vector<double> coefs;
  std::vector<nnzint> places;
  nnzint size() const { return static_cast<nnzint>(vars.size()); }
};

struct MXLIN {
  MxLinTerms obj;   // places: variable index in the dense gradient
  MxLinTerms jac;   // places: entry of the merged Jacobian
  MxLinTerms rsd;   // places: entry of the merged residual Jacobian
  std::vector<int> consWithLinear;  // m flags, recounted at each merge
  nnzint addedSinceMerge = 0;       // constraint terms appended since the merge
  nnzint numJacTerms() const { return jac.size(); }
};

// Quadratic terms stored as Hessian entries: c * xi * xj is stored with
// value 2c for i = j and c otherwise, with i <= j.
struct MxQuadTerms {
  std::vector<int> cons;  // constraint index; unused for the objective
  std::vector<int> vars1, vars2;
  std::vector<double> values;
  std::vector<nnzint> hessPlace;
  std::vector<nnzint> jacPlace1, jacPlace2;  // constraints: entries (con, var1), (con, var2)
  nnzint size() const { return static_cast<nnzint>(vars1.size()); }
};

struct MXQUAD {
  MxQuadTerms obj;
  MxQuadTerms con;
  std::vector<int> consWithQuadratic;  // m flags
};

// ||A x + b||_2 added to one constraint.
struct MXCONIC {
  int indexCon = 0;
  int nCoords = 0;
  nnzint nnz = 0;
  std::vector<int> rows, cols;
  std::vector<double> values;
  std::vector<double> constants;        // b, nCoords
  std::vector<int> vars;                // distinct columns, ascending
  std::vector<int> entryVar;            // per entry: position of its column in vars
  std::vector<nnzint> jacPlace;         // per distinct column
  std::vector<nnzint> hessPlace;        // per pair a <= b of distinct columns, packed by rows
};

// Growth of per-variable and per-constraint arrays inside the structures
// when the model grows. Reserves everything first, so a failure changes
// nothing.
void mxStructuresGrow(MXL_context *ctx, int newN, int newM);
// Deep copy of the model layer's structures into a child's model layer.
void mxStructuresCopy(const MXMOD &source, MXMOD &target);
