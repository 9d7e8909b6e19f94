// Merged sparsity patterns of the inner context and the merge of the model
// layer's structures into them.
//
// The merge runs under the context lock at solve time. mxMergeStructure is
// the entry of the solve driver: at changeLevel 0 it builds the Hessian,
// Jacobian and objective gradient (or residual Jacobian) patterns; at 1 only
// the Jacobian and gradient; at -1 nothing, because values of changed terms
// were already written to their places.
#pragma once

#include <cstdint>
#include <vector>

using nnzint = int64_t;
struct MXL_context;
struct MXMOD;

// A sparse matrix by rows: rows are constraints (or residuals), columns
// variables. Entries are sorted by row, then column, one per coordinate.
struct MxJacobian {
  nnzint nnz = 0;
  std::vector<int> indexCons, indexVars;
  std::vector<nnzint> rowPtr;  // rows + 1
  std::vector<int> source;     // MxJacSource of each entry
  std::vector<double> values;
};

// Upper triangle of the Hessian of the Lagrangian, indexVars1 <= indexVars2,
// sorted by indexVars1 then indexVars2, one entry per coordinate.
struct MxHessian {
  nnzint nnz = 0;
  std::vector<int> indexVars1, indexVars2;
  std::vector<nnzint> rowPtr;  // n + 1
  std::vector<double> values;
};

// The objective gradient is dense (n); the pattern lists the variables that
// some term touches.
struct MxObjGradPattern {
  std::vector<char> mask;
  std::vector<int> indexVars;
  nnzint nnz() const { return static_cast<nnzint>(indexVars.size()); }
};

struct MxInnerPatterns {
  MxJacobian jac;
  MxHessian hess;
  MxJacobian rsdJac;
  MxObjGradPattern objGrad;
};

// What the model layer remembers of the last merge.
struct MxMergeSummary {
  int hessianLoaded = 0;
  int jacobianLoaded = 0;
  int objGradLoaded = 0;
  int rsdJacobianLoaded = 0;
  int mergedN = 0, mergedM = 0;
};

// Whether the pattern checks (repeated entries within one callback) run in
// a context of this subproblem kind.
bool mxKindChecksPatterns(int subproblemKind);

int mxLoadJacobian(MXL_context *ctx, MXMOD *model, void *reserved, int checkPattern);
int mxLoadObjGrad(MXL_context *ctx, MXMOD *model);
int mxLoadResJacobian(MXL_context *ctx, MXMOD *model, int checkPattern);
int mxLoadHessian(MXL_context *ctx, MXMOD *model);
// Merges the model layer into the inner patterns as changeLevel asks and
// clears the values. Returns 0 or the failing code (returnCode and status
// are set; the context is not poisoned).
int mxMergeStructure(MXL_context *ctx);
// Constraints without any term: checked against their bounds (-204 on a
// violation), then treated as linear. Returns 0 or -204.
int mxCheckConstantCons(MXL_context *ctx);
// Clears what was pending for this solve: the count of linear terms added
// since the merge.
void mxInitForResolve(MXL_context *ctx);
// Refills the gradient and Jacobian values (residual Jacobian for least
// squares) from the linear structure alone, as an update without solve does.
void mxRefillLinearValues(MXL_context *ctx);
// The merged Jacobian entry of (row, var), or -1.
nnzint mxFindJacEntry(const MxJacobian &jac, int row, int var);
