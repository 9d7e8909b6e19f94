// Writing MPS files. Values carry 17 significant digits, so that a model
// written and read back is the same model.
#include <algorithm>
#include <cstdio>

#include "driver/output.h"
#include "interface/mps_model.h"

namespace {

const double kInf = 1.7976931348623157e308;

std::string mps_row_name(const MpsModel &m, int r) {
  return m.rows[static_cast<size_t>(r)].name.empty() ? "C" + std::to_string(r) : m.rows[static_cast<size_t>(r)].name;
}
std::string mps_col_name(const MpsModel &m, int c) {
  return m.cols[static_cast<size_t>(c)].name.empty() ? "X" + std::to_string(c) : m.cols[static_cast<size_t>(c)].name;
}

void mps_write_rows(std::FILE *f, const MpsModel &m) {
  std::fprintf(f, "ROWS\n N  %s\n", m.objName.empty() ? "OBJ" : m.objName.c_str());
  for (size_t r = 0; r < m.rows.size(); ++r)
    std::fprintf(f, " %c  %s\n", m.rows[r].kind, mps_row_name(m, static_cast<int>(r)).c_str());
}

void mps_write_columns(std::FILE *f, const MpsModel &m) {
  std::vector<MpsEntry> byCol = m.entries;
  std::stable_sort(byCol.begin(), byCol.end(), [](const MpsEntry &a, const MpsEntry &b) { return a.col < b.col; });
  const std::string obj = m.objName.empty() ? "OBJ" : m.objName;
  std::fprintf(f, "COLUMNS\n");
  size_t k = 0;
  bool intOpen = false;
  for (size_t c = 0; c < m.cols.size(); ++c) {
    const bool integer = m.cols[c].integer;
    if (integer != intOpen) {
      std::fprintf(f, "    MARKER                 'MARKER'                 '%s'\n", integer ? "INTORG" : "INTEND");
      intOpen = integer;
    }
    const std::string name = mps_col_name(m, static_cast<int>(c));
    bool any = false;
    if (c < m.objCoefs.size() && m.objCoefs[c] != 0.0) {
      std::fprintf(f, "    %-10s%-10s%-.17g\n", name.c_str(), obj.c_str(), m.objCoefs[c]);
      any = true;
    }
    for (; k < byCol.size() && byCol[k].col == static_cast<int>(c); ++k, any = true)
      std::fprintf(f, "    %-10s%-10s%-.17g\n", name.c_str(), mps_row_name(m, byCol[k].row).c_str(), byCol[k].value);
    if (!any) std::fprintf(f, "    %-10s%-10s%-.17g\n", name.c_str(), obj.c_str(), 0.0);
  }
  if (intOpen) std::fprintf(f, "    MARKER                 'MARKER'                 'INTEND'\n");
}

void mps_write_rhs_ranges(std::FILE *f, const MpsModel &m) {
  std::fprintf(f, "RHS\n");
  if (m.objConstant != 0.0)
    std::fprintf(f, "    RHS       %-10s%-.17g\n", m.objName.empty() ? "OBJ" : m.objName.c_str(), -m.objConstant);
  for (size_t r = 0; r < m.rows.size(); ++r)
    if (m.rows[r].rhs != 0.0)
      std::fprintf(f, "    RHS       %-10s%-.17g\n", mps_row_name(m, static_cast<int>(r)).c_str(), m.rows[r].rhs);
  std::fprintf(f, "RANGES\n");
  for (size_t r = 0; r < m.rows.size(); ++r)
    if (m.rows[r].hasRange)
      std::fprintf(f, "    RNG       %-10s%-.17g\n", mps_row_name(m, static_cast<int>(r)).c_str(), m.rows[r].range);
}

void mps_write_bound(std::FILE *f, const MpsColumn &c, const std::string &name) {
  const char *n = name.c_str();
  const bool loInf = c.lo <= -kInf, upInf = c.up >= kInf;
  if (c.integer) {
    if (c.lo == 0.0 && c.up == 1.0) {
      std::fprintf(f, " BV BND       %s\n", n);
      return;
    }
    if (loInf) std::fprintf(f, " MI BND       %s\n", n);
    else std::fprintf(f, " LI BND       %-10s%-.17g\n", n, c.lo);
    if (upInf) std::fprintf(f, " PL BND       %s\n", n);
    else std::fprintf(f, " UI BND       %-10s%-.17g\n", n, c.up);
    return;
  }
  if (!loInf && c.lo == c.up) {
    std::fprintf(f, " FX BND       %-10s%-.17g\n", n, c.lo);
  } else if (loInf && upInf) {
    std::fprintf(f, " FR BND       %s\n", n);
  } else {
    if (loInf) std::fprintf(f, " MI BND       %s\n", n);
    else if (c.lo != 0.0) std::fprintf(f, " LO BND       %-10s%-.17g\n", n, c.lo);
    if (!upInf) std::fprintf(f, " UP BND       %-10s%-.17g\n", n, c.up);
  }
}

void mps_write_quadratic(std::FILE *f, const MpsModel &m) {
  if (!m.quadObj.empty()) {
    std::fprintf(f, m.quadObjFull ? "QMATRIX\n" : "QUADOBJ\n");
    for (const MpsQuadEntry &e : m.quadObj)
      std::fprintf(f, "    %-10s%-10s%-.17g\n", mps_col_name(m, e.col1).c_str(), mps_col_name(m, e.col2).c_str(), e.value);
  }
  for (size_t r = 0; r < m.quadCon.size(); ++r) {
    if (m.quadCon[r].empty()) continue;
    std::fprintf(f, "QCMATRIX %s\n", mps_row_name(m, static_cast<int>(r)).c_str());
    for (const MpsQuadEntry &e : m.quadCon[r])
      std::fprintf(f, "    %-10s%-10s%-.17g\n", mps_col_name(m, e.col1).c_str(), mps_col_name(m, e.col2).c_str(), e.value);
  }
}

}  // namespace

bool mpsWrite(const MpsModel &m, const std::string &path, std::string &error) {
  MxFile file(std::fopen(path.c_str(), "w"));
  if (!file) {
    error = "*** Could not open '" + path + "' for output.\n";
    return false;
  }
  std::FILE *f = file.get();
  std::fprintf(f, "NAME          %s\n", m.name.empty() ? "MORVEX" : m.name.c_str());
  if (m.maximize) std::fprintf(f, "OBJSENSE\n    MAX\n");
  mps_write_rows(f, m);
  mps_write_columns(f, m);
  mps_write_rhs_ranges(f, m);
  std::fprintf(f, "BOUNDS\n");
  for (size_t c = 0; c < m.cols.size(); ++c) mps_write_bound(f, m.cols[c], mps_col_name(m, static_cast<int>(c)));
  mps_write_quadratic(f, m);
  std::fprintf(f, "ENDATA\n");
  if (std::ferror(f)) {
    error = "*** Could not write '" + path + "'.\n";
    return false;
  }
  return true;
}
