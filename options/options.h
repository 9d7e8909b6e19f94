// The option block of a context and the table that describes it.
//
// MxOptionBlock has one member per option, named exactly as the option and
// generated from options/option_table.def, like the rows of morvexspecs.
// Generic code reaches a value through the row's place (a pointer to the
// member), never through code of its own per option.
#pragma once

#include <string>

#include "morvex.h"

struct MXL_context;

// Tag bits of a row. A row with MX_TAG_INTERNAL is left out of the listings.
constexpr int MX_TAG_INTERNAL = 1;
constexpr int MX_TAG_ACTIVE_SET = 2;
constexpr int MX_TAG_BARRIER = 4;
constexpr int MX_TAG_DERIVATIVES = 8;
constexpr int MX_TAG_GENERAL = 16;
constexpr int MX_TAG_MIP = 32;
constexpr int MX_TAG_MULTIALG = 64;
constexpr int MX_TAG_MULTISTART = 128;
constexpr int MX_TAG_OUTPUT = 256;
constexpr int MX_TAG_PARALLELISM = 512;
constexpr int MX_TAG_PRESOLVE = 1024;
constexpr int MX_TAG_TERMINATION = 2048;
constexpr int MX_TAG_TUNER = 4096;
constexpr int MX_TAG_DEPRECATED = 8192;
constexpr int MX_TAG_LAST = 65536;

// Flags of an integer or double row.
constexpr int MX_FLAG_MIN = 2;              // the minimum is in force
constexpr int MX_FLAG_MAX = 4;              // the maximum is in force
constexpr int MX_FLAG_RUNTIME_DEFAULT = 8;  // the default depends on the context

struct MxOptionBlock {
#define MX_OPT_INT(n, U, tags, def, lo, hi, desc) int n = def;
#define MX_OPT_DBL(n, U, tags, def, lo, hi, desc) double n = def;
#define MX_OPT_DBL_AUTO(n, U, tags, lo, hi, desc) double n = 0.0;
#define MX_OPT_STR(n, U, tags, desc) std::string n;
#define MX_OPT_ENUM(n, U, tags, def, desc, ...) int n = def;
#include "options/option_table.def"
#undef MX_OPT_INT
#undef MX_OPT_DBL
#undef MX_OPT_DBL_AUTO
#undef MX_OPT_STR
#undef MX_OPT_ENUM
};

// One value of an enum row. Hidden values are valid but not listed.
struct MxEnumValue {
  const char *name;
  int value;
  const char *doc;
  int internal;
};

// One row of morvexspecs. Only the typed part that matches `type` is used;
// exactly one of the three places is set.
struct MxParamSpec {
  int apiId;
  const char *apiName;
  const char *name;
  const char *description;
  int type;  // MX_PARAMTYPE_INTEGER, _FLOAT, _STRING or _ENUM
  int flags;
  int intDefault, intMin, intMax;
  double dblDefault, dblMin, dblMax;
  const char *strDefault;  // null for every string row
  int numValues;
  const MxEnumValue *values;
  int defaultIndex;
  int tags;
  int MxOptionBlock::*intPlace;  // integer and enum rows
  double MxOptionBlock::*dblPlace;
  std::string MxOptionBlock::*strPlace;
};

constexpr int MX_NUM_PARAM_SPECS = 216;

// The table, sorted by name in byte order, and its length.
const MxParamSpec *getMorvexParamSpecifications();
int getNbParamSpecs();
int mxParamIndex(const MxParamSpec *row);
// True for integer and enum rows, whose value is an int.
bool mxParamIsInt(const MxParamSpec &row);

// Lookups. A non-null context receives the warnings about old ids and names.
void initializeParamAPIIdMap();
const MxParamSpec *getParamSpecsFromAPIId(MXL_context *ctx, int apiId);
const MxParamSpec *getParamSpecsFromNameBinSearch(MXL_context *ctx, const char *name);

// The row of a value held by pointer into a context's option block.
void initStaticOptionMapping();
int getParamPlaceOffset(const MxParamSpec &row);
const MxParamSpec *getParamSpecsFromPtr(const MXL_context *ctx, const void *place);
const MxParamSpec *getIntParamSpecs(const MXL_context *ctx, const int *place);
const MxParamSpec *getDblParamSpecs(const MXL_context *ctx, const double *place);
const MxParamSpec *getStrParamSpecs(const MXL_context *ctx, const std::string *place);

// The slot of a row in a block.
int &mxIntSlot(MxOptionBlock &opt, const MxParamSpec &row);
double &mxDblSlot(MxOptionBlock &opt, const MxParamSpec &row);
std::string &mxStrSlot(MxOptionBlock &opt, const MxParamSpec &row);

// Stores through a row; the options that route the output (level,
// destination, file name and folder) open, move or close the print file at
// once.
void mxStoreInt(MXL_context *ctx, const MxParamSpec &row, int value);
void mxStoreStr(MXL_context *ctx, const MxParamSpec &row, std::string value);

// Defaults. The run-time default of a double row depends on the context:
// feastol_abs is tighter in the node subproblems of the tree search.
int getEnumParamDefaultValue(const MxParamSpec &row);
int getIntParamDefaultValue(const MxParamSpec &row);
double getDblParamDefaultValue(const MXL_context *ctx, const MxParamSpec &row);
int getIntDefaultValueFromAPIId(int apiId);
double getDblDefaultValueFromAPIId(const MXL_context *ctx, int apiId);
bool mxIsNodeSubproblem(const MXL_context *ctx);

void setStrParamValue(MXL_context *ctx, const MxParamSpec &row, const char *value);
void resetParamToDefault(MXL_context *ctx, const MxParamSpec &row);
void MXL_reset_params_to_defaults(MXL_context *ctx);

// The name of one tag bit, or null for a bit without a name.
const char *getKOptTagStr(int tagBit);
// Checks what the compiler cannot: distinct places inside the block.
bool assertOptionDefinitionConsistency();

// Listings of the table.
void printParamSpecs(MXL_context *ctx, const MxParamSpec &row, int showInternal);
void printAllParamSpecs(MXL_context *ctx, int showInternal);
int writeJsonOptionsDefinition(MXL_context *ctx, const char *filename);
