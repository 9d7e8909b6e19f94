// The merge of coordinate lists from several sources into one sorted
// pattern, shared by the Jacobian, residual Jacobian and Hessian merges.
#pragma once

#include <vector>

#include "interface/structures.h"

// One coordinate from one source. tag: 0 linear, 1 quadratic, 2 L2 norm,
// 3 + k callback k. place receives the entry of the merged pattern.
struct MxMergeEntry {
  int row, col, tag;
  nnzint *place;
};

constexpr int MX_TAG_LINEAR = 0, MX_TAG_QUADRATIC = 1, MX_TAG_CONIC = 2, MX_TAG_CALLBACK = 3;

struct MxMergedList {
  std::vector<int> rows, cols, source;
  std::vector<nnzint> rowPtr;
};

// Sorts the entries, gives each coordinate one merged entry and writes the
// places. With checkRepeats, a coordinate that one callback lists twice is
// reported through dupMessage (row, col) and gives dupCode. Returns 0 or the
// code (the merged list is then not touched).
int mxMergeEntries(MXL_context *ctx, std::vector<MxMergeEntry> &entries, int numRows, bool checkRepeats,
                   const char *dupMessage, int dupCode, MxMergedList &out);

// A merge failure: the message is printed already; records the code.
int mxMergeFail(MXL_context *ctx, int code);

// The coordinates of a callback's patterns in the user's order (dense forms
// expanded over the current n).
void mxCbJacCoords(const MXCB &cb, int n, bool rsd, std::vector<int> &rows, std::vector<int> &cols);
void mxCbHessCoords(const MXCB &cb, int n, std::vector<int> &v1, std::vector<int> &v2);
void mxCbObjGradVars(const MXCB &cb, int n, std::vector<int> &vars);
// Gives callbacks without a first-derivative pattern a dense one and brings
// the counts of dense forms up to the current size.
void mxDefaultCallbackPatterns(MXL_context *ctx);
