// Option files, the range and cross-option checks run at each solve, the
// listing of changed options and the copying of options between contexts.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

struct MXL_context;
struct MxOptionBlock;
struct MxParamSpec;

// One option of the tuner's grid as a tuner options file gives it.
struct MxTunerOption {
  std::string name;
  int kind = 1;               // 1 integer or enum, 2 double
  bool tunerChooses = false;  // the name alone: the tuner picks the values
  std::vector<double> values;
};

struct MxTunerGrid {
  std::vector<MxTunerOption> options;
  bool fromFile = false;
};

// The most values of one option that the tuner tries.
constexpr int MX_TUNER_MAX_VALUES = 16;

// How do_parsed_line reports: a line of a file, or one option given alone.
enum MxLineMode { MX_LINE_FILE = 0, MX_LINE_SINGLE = 1 };

// Reading. The loaders return 0, -505 for a file that cannot be read, -521
// when a line failed (the good lines stay in force), -515 during a solve.
int MXL_load_param_filep(MXL_context *ctx, std::FILE *file, int tunerMode, int *tunerFileWanted);
int mxLoadParamFile(MXL_context *ctx, const char *filename);
int mxLoadTunerFile(MXL_context *ctx, const char *filename);
int do_parsed_line(MXL_context *ctx, const char *const *tokens, int count, int lineNumber, int mode);
// Reads the value of an integer or enum option from tokens[1]. Returns 1
// with *value set, 0 for a name alone in a tuner file, -1 after a message.
// A line number below 0 selects the messages of a by-name setter.
int int_command(MXL_context *ctx, const char *caller, const MxParamSpec &row, int lineNumber,
                int tokenCount, const char *const *tokens, int *value, int tunerMode);
bool isValidTunerOption(const char *name);
// One line of a tuner file into ctx->tunerGrid: 0 stored or ignored with a
// warning, -1 for a value that cannot be read.
int mxTunerLine(MXL_context *ctx, const char *const *tokens, int count, int lineNumber);
// The value tokens tokens[1..count) of a tuner line.
int mxReadTunerIntValues(MXL_context *ctx, const MxParamSpec &row, const char *const *tokens,
                         int count, int lineNumber, std::vector<double> &values);
int mxReadTunerDoubleValues(MXL_context *ctx, const MxParamSpec &row, const char *const *tokens,
                            int count, int lineNumber, std::vector<double> &values);

// Writing and listing.
int mxSaveParamFile(MXL_context *ctx, const char *filename);
bool optionDoublesEqual(double a, double b, double tolerance);
// True when the option of a row holds its default in a block of ctx.
bool mxOptionIsDefault(const MXL_context *ctx, const MxOptionBlock &opt, const MxParamSpec &row);
void printOptions(MXL_context *ctx, const MxOptionBlock &options);

// Checks at solve time; they repair and warn, never fail.
void chkspecs(MXL_context *ctx);
void chkspecdependencies(MXL_context *ctx);
void chkMSspecdependencies(MXL_context *ctx);
void chkMIPspecdependencies(MXL_context *ctx, int relaxable);

// Copies between contexts, row by row.
void copyNondefaultOptions(const MXL_context *source, MXL_context *target);
void copyNondefaultMipOptions(const MXL_context *source, MXL_context *target);
void copyNondefaultParallelOptions(const MXL_context *source, MXL_context *target);
void copyGivenNonDefaultOptions(const MXL_context *source, MXL_context *target, const int *ids,
                                int count);
MxOptionBlock storeOptions(const MXL_context *ctx);
void copyOptions(MXL_context *ctx, const MxOptionBlock &saved);
