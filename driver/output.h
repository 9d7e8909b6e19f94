// Where the library's text goes: standard output, the print file, or the
// user's puts callback; and the other output files.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

struct MXL_context;

struct MxFileCloser {
  void operator()(std::FILE *f) const {
    if (f != nullptr) std::fclose(f);
  }
};
using MxFile = std::unique_ptr<std::FILE, MxFileCloser>;

// The per-iteration debug files written with `debug` 1.
enum MxDebugFileKind {
  MX_DBG_SUMM, MX_DBG_STEP, MX_DBG_LP, MX_DBG_EQP, MX_DBG_ACTSET, MX_DBG_BARRIER,
  MX_DBG_NORMAL, MX_DBG_TANG, MX_DBG_DIRECT, MX_DBG_PROFILE, MX_DBG_COUNT
};

struct MxOutputState {
  MxFile printFile;
  std::string printDir, printName;  // outdir and outname the print file was opened with
  MxFile csvFile;
  int newPointWritten = 0;  // the new-point log got its first line
  int savedStdout = -1;     // descriptor kept while stdout goes to the print file
  MxFile debugFiles[MX_DBG_COUNT];
};

// Full path of an output file in `outdir` (validated), or the name alone.
std::string mx_output_path(MXL_context *ctx, const char *name);
// Tests that `outdir` can be used; warns and returns false when not.
bool validateOutDir(MXL_context *ctx);

void openPrintFile(MXL_context *ctx);
void closePrintFile(MXL_context *ctx);
// Opens a file for an output other than the print file; null on failure,
// after the "Error opening" messages.
MxFile openOutputFile(MXL_context *ctx, const char *name, const char *mode);

// Engines that print by themselves write into the print file meanwhile.
void connectStdoutToFile(MXL_context *ctx);
void disconnectStdoutFromFile(MXL_context *ctx);

// "name.log" with a child's number: "name_3.log".
std::string addIntSuffixToFilePath(const std::string &path, int number);
// Opens the debug files of the active-set or the barrier algorithms when
// `debug` is 1; a child (childNumber >= 0) gets its number in the names.
void openDebugFiles(MXL_context *ctx, bool activeSet, int childNumber);
void closeDebugFiles(MXL_context *ctx);
// The open debug file of a kind, or null.
std::FILE *mxDebugFile(MXL_context *ctx, MxDebugFileKind kind);
