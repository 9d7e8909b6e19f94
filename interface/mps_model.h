// A model as an MPS file describes it, between the file and the context.
#pragma once

#include <string>
#include <vector>

struct MpsRow {
  std::string name;
  char kind = 'N';  // 'E', 'L', 'G', 'N'
  double rhs = 0.0;
  bool hasRange = false;
  double range = 0.0;
};

struct MpsColumn {
  std::string name;
  bool integer = false;
  bool loGiven = false, upGiven = false;
  double lo = 0.0, up = 0.0;
};

struct MpsEntry {
  int row;  // index into the constraint rows (objective excluded)
  int col;
  double value;
};

struct MpsQuadEntry {
  int col1, col2;
  double value;
};

struct MpsModel {
  std::string name;
  bool maximize = false;
  std::string objName;
  double objConstant = 0.0;                 // already negated from the RHS
  std::vector<MpsRow> rows;                 // constraint rows, in file order
  std::vector<MpsColumn> cols;
  std::vector<MpsEntry> entries;            // constraint coefficients
  std::vector<double> objCoefs;             // one per column
  std::vector<MpsQuadEntry> quadObj;        // as written
  bool quadObjFull = false;                 // QMATRIX: both triangles; QUADOBJ: one
  std::vector<std::vector<MpsQuadEntry>> quadCon;  // per constraint row
  bool fixedFormat = false;                 // how the file had to be read
  std::vector<std::string> warnings;
};

// Reads an MPS file (plain or gzip-compressed, free or fixed format). On
// failure returns false with the message in `error`.
bool mpsRead(const std::string &path, MpsModel &model, std::string &error);

// Writes the model in MPS form (free layout, values with full precision).
bool mpsWrite(const MpsModel &model, const std::string &path, std::string &error);
