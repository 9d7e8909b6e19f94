// Parameter files: one option per line, the name then its value; '#' starts
// a comment. A bad line is reported and skipped; the others apply.
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "driver/output.h"
#include "driver/print.h"
#include "interface/context.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

const char *const kFileCaller = "MXL_load_param_file";
const char *const kSetterCaller = "MXL_set_param";

// ", line N" for a line of a file, nothing for a by-name setter.
std::string mxAtLine(int lineNumber) {
  return lineNumber >= 0 ? ", line " + std::to_string(lineNumber) : std::string();
}

int mxCaseCompare(const char *a, const char *b) {
  for (;; ++a, ++b) {
    const int ca = std::tolower(static_cast<unsigned char>(*a));
    const int cb = std::tolower(static_cast<unsigned char>(*b));
    if (ca != cb || ca == 0) return ca - cb;
  }
}

// A whole token as a number with automatic base; false when any of it is
// left over or the value does not fit an int.
bool mxParseInt(const char *token, int *value, bool *numericStart) {
  char *end = nullptr;
  errno = 0;
  const long v = std::strtol(token, &end, 0);
  *numericStart = end != token;
  if (end == token || *end != '\0' || errno == ERANGE) return false;
  if (v < -2147483647L - 1 || v > 2147483647L) return false;
  *value = static_cast<int>(v);
  return true;
}

const MxEnumValue *mxEnumByValue(const MxParamSpec &row, int value) {
  for (int i = 0; i < row.numValues; ++i)
    if (row.values[i].value == value) return &row.values[i];
  return nullptr;
}

const MxEnumValue *mxEnumByName(const MxParamSpec &row, const char *name) {
  for (int i = 0; i < row.numValues; ++i)
    if (mxCaseCompare(row.values[i].name, name) == 0) return &row.values[i];
  return nullptr;
}

int mxBadValue(MXL_context *ctx, const char *caller, const MxParamSpec &row, const char *token) {
  mxl_printf(ctx, "%s detects bad option value '%s' for option '%s'.\n", caller, token, row.name);
  mxl_printf(ctx, "The value for this option setting should be a simple number.\n");
  return -1;
}

int mxCheckIntLimits(MXL_context *ctx, const char *caller, const MxParamSpec &row, int value,
                     int lineNumber) {
  const std::string at = mxAtLine(lineNumber);
  if ((row.flags & MX_FLAG_MIN) && value < row.intMin) {
    mxl_printf(ctx, "%s finds value %d for '%s' out of range (minimum is %d)%s\n", caller, value,
               row.name, row.intMin, at.c_str());
    return -1;
  }
  if ((row.flags & MX_FLAG_MAX) && value > row.intMax) {
    mxl_printf(ctx, "%s finds value %d for '%s' out of range (maximum is %d)%s\n", caller, value,
               row.name, row.intMax, at.c_str());
    return -1;
  }
  return 1;
}

// One value token of an integer or enum option.
int mxReadIntValue(MXL_context *ctx, const char *caller, const MxParamSpec &row,
                   const char *token, int lineNumber, int *value) {
  const std::string at = mxAtLine(lineNumber);
  bool numericStart = false;
  int v = 0;
  if (mxParseInt(token, &v, &numericStart)) {
    if (row.type != MX_PARAMTYPE_ENUM) {
      if (mxCheckIntLimits(ctx, caller, row, v, lineNumber) < 0) return -1;
    } else if (mxEnumByValue(row, v) == nullptr) {
      mxl_printf(ctx, "%s detects syntax error for '%s'%s: %d is not a valid value\n", caller,
                 row.name, at.c_str(), v);
      return -1;
    }
    *value = v;
    return 1;
  }
  if (numericStart || row.type != MX_PARAMTYPE_ENUM) return mxBadValue(ctx, caller, row, token);
  const MxEnumValue *named = mxEnumByName(row, token);
  if (named == nullptr) {
    mxl_printf(ctx, "%s detects syntax error for '%s'%s\n", caller, row.name, at.c_str());
    return -1;
  }
  *value = named->value;
  return 1;
}

bool mxParseDouble(const char *token, double *value) {
  char *end = nullptr;
  const double v = std::strtod(token, &end);
  if (end == token || *end != '\0') return false;
  *value = v;
  return true;
}

// The argument count of a double or string option.
int mxCheckArgCount(MXL_context *ctx, const MxParamSpec &row, int count, int lineNumber) {
  if (count < 2) {
    mxl_printf(ctx, "Argument for %s missing%s\n", row.name, mxAtLine(lineNumber).c_str());
    return -1;
  }
  if (count > 2) {
    mxl_printf(ctx, "Extra tokens for %s%s\n", row.name, mxAtLine(lineNumber).c_str());
    return -1;
  }
  return 0;
}

int mxApplyDouble(MXL_context *ctx, const MxParamSpec &row, const char *const *tokens, int count,
                  int lineNumber) {
  if (mxCheckArgCount(ctx, row, count, lineNumber) < 0) return -1;
  double value = 0.0;
  if (!mxParseDouble(tokens[1], &value)) {
    mxl_printf(ctx, "Required numerical parameter not understood for %s%s\n", row.name,
               mxAtLine(lineNumber).c_str());
    return -1;
  }
  mxDblSlot(ctx->opt, row) = value;
  return 0;
}

int mxApplyString(MXL_context *ctx, const MxParamSpec &row, const char *const *tokens, int count,
                  int lineNumber) {
  if (mxCheckArgCount(ctx, row, count, lineNumber) < 0) return -1;
  mxStoreStr(ctx, row, tokens[1]);
  return 0;
}

bool mxIsSeparator(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0'; }

// Cuts a line into tokens in place: blanks, tabs, CR and LF separate, '#'
// ends the content.
std::vector<const char *> mxTokenize(std::string &line) {
  const size_t hash = line.find('#');
  if (hash != std::string::npos) line.resize(hash);
  std::vector<const char *> tokens;
  char *p = &line[0];
  char *const end = p + line.size();
  while (p < end) {
    if (mxIsSeparator(*p)) {
      *p++ = '\0';
      continue;
    }
    tokens.push_back(p);
    while (p < end && !mxIsSeparator(*p)) ++p;
  }
  return tokens;
}

// Reads one whole line; false at the end of the file.
bool mxReadLine(std::FILE *file, std::string &line) {
  line.clear();
  char chunk[1024];
  while (std::fgets(chunk, sizeof chunk, file) != nullptr) {
    line += chunk;
    if (!line.empty() && line.back() == '\n') return true;
  }
  return !line.empty();
}

}  // namespace

int int_command(MXL_context *ctx, const char *caller, const MxParamSpec &row, int lineNumber,
                int tokenCount, const char *const *tokens, int *value, int tunerMode) {
  if (lineNumber < 0) caller = kSetterCaller;
  const std::string at = mxAtLine(lineNumber);
  if (tokenCount < 2) {
    if (tunerMode) return 0;
    mxl_printf(ctx, "%s missing argument for '%s'%s\n", caller, row.name, at.c_str());
    return -1;
  }
  if (tokenCount > 2 && !tunerMode) {
    mxl_printf(ctx, "%s found extra tokens for '%s'%s\n", caller, row.name, at.c_str());
    return -1;
  }
  return mxReadIntValue(ctx, caller, row, tokens[1], lineNumber, value);
}

// Reads every value token of a tuner line for an integer or enum option.
int mxReadTunerIntValues(MXL_context *ctx, const MxParamSpec &row, const char *const *tokens,
                         int count, int lineNumber, std::vector<double> &values) {
  for (int i = 1; i < count; ++i) {
    int v = 0;
    if (mxReadIntValue(ctx, "MXL_load_tuner_file", row, tokens[i], lineNumber, &v) < 0) return -1;
    values.push_back(v);
  }
  return 0;
}

int mxReadTunerDoubleValues(MXL_context *ctx, const MxParamSpec &row, const char *const *tokens,
                            int count, int lineNumber, std::vector<double> &values) {
  for (int i = 1; i < count; ++i) {
    double v = 0.0;
    if (!mxParseDouble(tokens[i], &v)) {
      mxl_printf(ctx, "Required numerical parameter not understood for %s%s\n", row.name,
                 mxAtLine(lineNumber).c_str());
      return -1;
    }
    values.push_back(v);
  }
  return 0;
}

int do_parsed_line(MXL_context *ctx, const char *const *tokens, int count, int lineNumber,
                   int mode) {
  if (count == 0) return 0;
  const MxParamSpec *row = getParamSpecsFromNameBinSearch(ctx, tokens[0]);
  if (row == nullptr) {
    if (mode == MX_LINE_SINGLE)
      mxl_printf(ctx, "MX_set_param found unknown token '%s'\n", tokens[0]);
    else
      mxl_printf(ctx, "MX_load_param_file found unknown token '%s', line %d\n", tokens[0],
                 lineNumber);
    return -1;
  }
  if (mode == MX_LINE_SINGLE) lineNumber = -1;
  if (row->type == MX_PARAMTYPE_FLOAT) return mxApplyDouble(ctx, *row, tokens, count, lineNumber);
  if (row->type == MX_PARAMTYPE_STRING) return mxApplyString(ctx, *row, tokens, count, lineNumber);
  int value = 0;
  if (int_command(ctx, kFileCaller, *row, lineNumber, count, tokens, &value, 0) < 0) return -1;
  mxStoreInt(ctx, *row, value);
  return 0;
}

int MXL_load_param_filep(MXL_context *ctx, std::FILE *file, int tunerMode, int *tunerFileWanted) {
  if (tunerFileWanted != nullptr) *tunerFileWanted = 0;
  int failures = 0, lineNumber = 0;
  std::string line;
  while (mxReadLine(file, line)) {
    ++lineNumber;
    const std::vector<const char *> tokens = mxTokenize(line);
    if (tokens.empty()) continue;
    const int count = static_cast<int>(tokens.size());
    const int rc = tunerMode ? mxTunerLine(ctx, tokens.data(), count, lineNumber)
                             : do_parsed_line(ctx, tokens.data(), count, lineNumber, MX_LINE_FILE);
    if (rc < 0) ++failures;
    if (!tunerMode && rc == 0 && tunerFileWanted != nullptr &&
        std::strcmp(tokens[0], "tuner_optionsfile") == 0)
      *tunerFileWanted = 1;
  }
  return failures > 0 ? MX_RC_BAD_PARAMINPUT : 0;
}

int mxLoadParamFile(MXL_context *ctx, const char *filename) {
  MxFile file(std::fopen(filename, "r"));
  if (!file) {
    mxl_printf(ctx, "ERROR: Morvex could not open file '%s' for input.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  int tunerFileWanted = 0;
  int rc = MXL_load_param_filep(ctx, file.get(), 0, &tunerFileWanted);
  if (std::ferror(file.get())) {  // a directory opens, but cannot be read
    mxl_printf(ctx, "ERROR: Morvex could not open file '%s' for input.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  file.reset();
  if (tunerFileWanted && !ctx->opt.tuner_optionsfile.empty()) {
    const std::string tunerFile = ctx->opt.tuner_optionsfile;
    if (mxLoadTunerFile(ctx, tunerFile.c_str()) != 0) rc = MX_RC_BAD_PARAMINPUT;
  }
  return rc;
}
