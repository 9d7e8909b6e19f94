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

struct MxOutputState {
  MxFile printFile;
  MxFile csvFile;
  int newPointWritten = 0;  // the new-point log got its first line
  int savedStdout = -1;     // descriptor kept while stdout goes to the print file
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
