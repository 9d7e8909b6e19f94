// Reading MPS files.
//
// Fields are split by white space first. Files written in the fixed-column
// layout may hold names with blanks, which defeats that split; when the
// free reading fails, the file is read again by fixed columns.
#include <zlib.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "interface/mps_model.h"

namespace {

using Fields = std::vector<std::string>;

bool mps_read_lines(const std::string &path, std::vector<std::string> &lines) {
  gzFile in = gzopen(path.c_str(), "rb");
  if (in == nullptr) return false;
  std::string line;
  char buf[4096];
  while (gzgets(in, buf, sizeof buf) != nullptr) {
    line += buf;
    if (line.empty() || line.back() != '\n') {
      if (gzeof(in)) break;
      continue;  // a line longer than the buffer
    }
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    lines.push_back(line);
    line.clear();
  }
  if (!line.empty()) lines.push_back(line);
  gzclose(in);
  return true;
}

Fields mps_split_free(const std::string &line) {
  Fields out;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    size_t j = i;
    while (j < line.size() && !std::isspace(static_cast<unsigned char>(line[j]))) ++j;
    if (j > i) out.push_back(line.substr(i, j - i));
    i = j;
  }
  return out;
}

std::string mps_column_field(const std::string &line, size_t from, size_t to) {
  if (line.size() <= from) return std::string();
  std::string f = line.substr(from, std::min(line.size(), to) - from);
  const size_t a = f.find_first_not_of(" \t");
  if (a == std::string::npos) return std::string();
  const size_t b = f.find_last_not_of(" \t");
  return f.substr(a, b - a + 1);
}

// The six fixed fields: columns 2-3, 5-12, 15-22, 25-36, 40-47, 50-61.
Fields mps_split_fixed(const std::string &line) {
  static const size_t at[6][2] = {{1, 3}, {4, 12}, {14, 22}, {24, 36}, {39, 47}, {49, 61}};
  Fields out;
  for (const auto &c : at) out.push_back(mps_column_field(line, c[0], c[1]));
  return out;
}

bool mps_number(const std::string &text, double &value) {
  if (text.empty()) return false;
  char *end = nullptr;
  errno = 0;
  value = std::strtod(text.c_str(), &end);
  return end != nullptr && *end == '\0';
}

bool mps_is_header(const std::string &line) {
  return !line.empty() && line[0] != ' ' && line[0] != '\t' && line[0] != '*' && line[0] != '#';
}

struct MpsParser {
  MpsModel &model;
  std::string &error;
  bool fixed;
  std::unordered_map<std::string, int> rowIndex;  // -1: the objective
  std::unordered_map<std::string, int> colIndex;
  int intMode = 0;
  int currentQcRow = -1;

  bool fail(const std::string &message) {
    error = message;
    return false;
  }

  // Data fields of a line in the shape of the section: the kind field first
  // for ROWS and BOUNDS, then names and values.
  Fields fields(const std::string &line, bool withKind) const {
    if (!fixed) return mps_split_free(line);
    Fields f = mps_split_fixed(line);
    Fields out(f.begin() + (withKind ? 0 : 1), f.end());
    while (!out.empty() && out.back().empty()) out.pop_back();
    return out;
  }

  bool row(const std::string &line) {
    const Fields f = fields(line, true);
    if (f.size() != 2 || f[0].size() != 1) return fail("ERROR: invalid row in MPS file: " + line + "\n");
    const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(f[0][0])));
    if (std::strchr("NELG", kind) == nullptr) return fail("ERROR: invalid row type in MPS file: " + line + "\n");
    if (kind == 'N' && model.objName.empty()) {
      model.objName = f[1];
      rowIndex[f[1]] = -1;
      return true;
    }
    MpsRow r;
    r.name = f[1];
    r.kind = kind;
    rowIndex[r.name] = static_cast<int>(model.rows.size());
    model.rows.push_back(r);
    return true;
  }

  bool findRow(const std::string &name, int &index, int lineNo) {
    auto it = rowIndex.find(name);
    if (it == rowIndex.end()) {
      error = "ERROR: line " + std::to_string(lineNo) + ", invalid row name: " + name + "\n";
      return false;
    }
    index = it->second;
    return true;
  }

  bool marker(const Fields &f) {
    if (f.size() < 3 || f[1].find("MARKER") == std::string::npos) return false;
    if (f[2].find("INTORG") != std::string::npos) intMode = 1;
    if (f[2].find("INTEND") != std::string::npos) intMode = 0;
    return true;
  }

  bool column(const std::string &line, int lineNo) {
    const Fields f = fields(line, false);
    if (marker(f)) return true;
    if (f.size() != 3 && f.size() != 5) return fail("ERROR: Uncorrect column in MPS file:\n " + line + "\n.");
    auto it = colIndex.find(f[0]);
    int col;
    if (it == colIndex.end()) {
      col = static_cast<int>(model.cols.size());
      colIndex[f[0]] = col;
      MpsColumn c;
      c.name = f[0];
      c.integer = intMode != 0;
      model.cols.push_back(c);
      model.objCoefs.push_back(0.0);
    } else {
      col = it->second;
    }
    for (size_t k = 1; k + 1 < f.size(); k += 2) {
      int r;
      double v;
      if (!findRow(f[k], r, lineNo)) return false;
      if (!mps_number(f[k + 1], v)) return fail("ERROR: Uncorrect column in MPS file:\n " + line + "\n.");
      if (r < 0)
        model.objCoefs[col] += v;
      else
        model.entries.push_back({r, col, v});
    }
    return true;
  }

  // RHS and RANGES lines: an optional set name, then pairs of row and value.
  bool pairs(const std::string &line, int lineNo, bool ranges) {
    Fields f = fields(line, false);
    if (f.size() == 3 || f.size() == 5)
      f.erase(f.begin());
    else if (f.size() != 2 && f.size() != 4)
      return fail(ranges ? "ERROR: Uncorrect RANGE in MPS file " + line + ".\n"
                         : "ERROR: Incorrect RHS in MPS file: " + line + "\n");
    for (size_t k = 0; k + 1 < f.size(); k += 2) {
      int r;
      double v;
      if (!findRow(f[k], r, lineNo)) return false;
      if (!mps_number(f[k + 1], v)) return fail("ERROR: Incorrect RHS in MPS file: " + line + "\n");
      if (ranges && r >= 0) {
        model.rows[r].hasRange = true;
        model.rows[r].range = v;
      } else if (!ranges && r < 0) {
        model.objConstant = -v;  // the objective row's RHS moves to the other side
      } else if (!ranges) {
        model.rows[r].rhs = v;
      }
    }
    return true;
  }

  bool bound(const std::string &line) {
    Fields f = fields(line, true);
    if (fixed && f.size() >= 2 && f[1].empty()) f.erase(f.begin() + 1);
    if (f.size() < 3) return fail("ERROR: parsing MPS file: invalid bound line " + line + "\n");
    // A line without a set name has the column second.
    std::string kind = f[0], colName = f[2], value = f.size() > 3 ? f[3] : std::string();
    if (!colIndex.count(colName) && colIndex.count(f[1])) {
      colName = f[1];
      value = f[2];
    }
    for (char &ch : kind) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    auto it = colIndex.find(colName);
    if (it == colIndex.end()) return fail("ERROR: parsing MPS file: unknown column in bound " + line + "\n");
    MpsColumn &c = model.cols[static_cast<size_t>(it->second)];
    double v = 0.0;
    const bool needsValue = kind == "UP" || kind == "LO" || kind == "FX" || kind == "LI" || kind == "UI";
    if (needsValue && !mps_number(value, v)) return fail("ERROR: parsing MPS file: invalid bound value " + line + "\n");
    return applyBound(c, kind, v, line);
  }

  bool applyBound(MpsColumn &c, const std::string &kind, double v, const std::string &line) {
    const double inf = 1.7976931348623157e308;
    if (kind == "UP" || kind == "UI") {
      c.up = v;
      c.upGiven = true;
      c.integer = c.integer || kind == "UI";
      if (v < 0.0 && !c.loGiven) {
        // A negative upper bound alone: the lower bound is minus infinity,
        // as written models expect; a lower bound of 0 would make them infeasible.
        c.lo = -inf;
        c.loGiven = true;
        model.warnings.push_back("WARNING: negative upper bound of column " + c.name +
                                 " without lower bound; lower bound set to -infinity.\n");
      }
    } else if (kind == "LO" || kind == "LI") {
      c.lo = v;
      c.loGiven = true;
      c.integer = c.integer || kind == "LI";
    } else if (kind == "MI") {
      c.lo = -inf;
      c.loGiven = true;
    } else if (kind == "PL") {
      c.up = inf;
      c.upGiven = true;
    } else if (kind == "FX") {
      c.lo = c.up = v;
      c.loGiven = c.upGiven = true;
    } else if (kind == "FR") {
      c.lo = -inf;
      c.up = inf;
      c.loGiven = c.upGiven = true;
    } else if (kind == "BV") {
      c.integer = true;
      c.lo = 0.0;
      c.up = 1.0;
      c.loGiven = c.upGiven = true;
    } else {
      return fail("ERROR: parsing MPS file: " + kind + " is not a valid identifier for bounds");
    }
    (void)line;
    return true;
  }

  bool quad(const std::string &line, int lineNo, bool constraint) {
    const Fields f = fields(line, false);
    Fields g = f;
    if (fixed && g.size() == 4 && g[0].empty()) g.erase(g.begin());
    if (g.size() != 3) return fail("ERROR: invalid quadratic entry in MPS file: " + line + "\n");
    auto a = colIndex.find(g[0]), b = colIndex.find(g[1]);
    double v;
    if (a == colIndex.end() || b == colIndex.end() || !mps_number(g[2], v))
      return fail("ERROR: line " + std::to_string(lineNo) + ", invalid quadratic entry: " + line + "\n");
    MpsQuadEntry e{a->second, b->second, v};
    if (constraint)
      model.quadCon[static_cast<size_t>(currentQcRow)].push_back(e);
    else
      model.quadObj.push_back(e);
    return true;
  }
};

// Which section a header line opens; an empty string for an unknown word.
std::string mps_section_word(const std::string &line) {
  static const char *words[] = {"NAME", "OBJSENSE", "OBJSENSE", "ROWS", "COLUMNS", "RHS", "RANGES",
                                "BOUNDS", "QUADOBJ", "QMATRIX", "QCMATRIX", "ENDATA", "END"};
  const Fields f = mps_split_free(line);
  if (f.empty()) return std::string();
  for (const char *w : words)
    if (f[0] == w) return w;
  return std::string();
}

bool mps_parse(const std::vector<std::string> &lines, bool fixed, MpsModel &model, std::string &error) {
  model = MpsModel();
  model.fixedFormat = fixed;
  MpsParser p{model, error, fixed, {}, {}, 0, -1};
  std::string section;
  bool qcSeen = false, qcClosed = false, senseNext = false;
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string &line = lines[i];
    const int lineNo = static_cast<int>(i) + 1;
    if (mps_is_header(line)) {
      const std::string word = mps_section_word(line);
      if (word.empty()) return p.fail("ERROR: MPS flag " + mps_split_free(line)[0] + " is not supported by Morvex.\n");
      if (word == "ENDATA" || word == "END") break;
      if (section == "QCMATRIX" && word != "QCMATRIX") qcClosed = true;
      if (word == "QCMATRIX" && qcClosed && qcSeen)
        return p.fail("ERROR: Quadratic constraints must be contiguously specified\n"
                      "       in MPS file for the Morvex MPS reader.\n");
      const Fields f = mps_split_free(line);
      if (word == "NAME") model.name = f.size() > 1 ? f[1] : std::string();
      if (word == "OBJSENSE") {
        senseNext = f.size() < 2;
        if (!senseNext) model.maximize = f[1] == "MAX" || f[1] == "MAXIMIZE";
      }
      if (word == "QCMATRIX") {
        qcSeen = true;
        int r;
        if (f.size() < 2 || !p.findRow(f[1], r, lineNo) || r < 0) return false;
        if (model.quadCon.size() < model.rows.size()) model.quadCon.resize(model.rows.size());
        p.currentQcRow = r;
      }
      section = word;
      continue;
    }
    const Fields words = mps_split_free(line);
    if (words.empty() || line[0] == '*' || line[0] == '#') continue;
    bool ok = true;
    if (section == "OBJSENSE" && senseNext) {
      model.maximize = words[0] == "MAX" || words[0] == "MAXIMIZE";
      senseNext = false;
    } else if (section == "ROWS") {
      ok = p.row(line);
    } else if (section == "COLUMNS") {
      ok = p.column(line, lineNo);
    } else if (section == "RHS" || section == "RANGES") {
      ok = p.pairs(line, lineNo, section == "RANGES");
    } else if (section == "BOUNDS") {
      ok = p.bound(line);
    } else if (section == "QUADOBJ" || section == "QMATRIX") {
      model.quadObjFull = section == "QMATRIX";
      ok = p.quad(line, lineNo, false);
    } else if (section == "QCMATRIX") {
      ok = p.quad(line, lineNo, true);
    }
    if (!ok) return false;
  }
  return true;
}

// Bounds of columns not given both: an integer column without bounds is a
// 0-1 column; otherwise a missing lower bound is 0 and a missing upper bound
// is infinite.
void mps_default_bounds(MpsModel &model) {
  const double inf = 1.7976931348623157e308;
  for (MpsColumn &c : model.cols) {
    if (c.loGiven && c.upGiven) continue;
    if (c.loGiven) {
      c.up = inf;
    } else if (c.upGiven) {
      c.lo = 0.0;
    } else {
      c.lo = 0.0;
      c.up = c.integer ? 1.0 : inf;
    }
  }
}

}  // namespace

bool mpsRead(const std::string &path, MpsModel &model, std::string &error) {
  std::vector<std::string> lines;
  if (!mps_read_lines(path, lines)) {
    error = "ERROR: file " + path + " not found.\n";
    return false;
  }
  if (mps_parse(lines, false, model, error)) {
    mps_default_bounds(model);
    return true;
  }
  std::string freeError = error;
  if (mps_parse(lines, true, model, error)) {
    mps_default_bounds(model);
    return true;
  }
  error = freeError;  // the free reading's complaint is the clearer one
  return false;
}
