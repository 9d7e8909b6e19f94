// The option table morvexspecs and the lookups over it.
#include <cctype>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

#include "driver/print.h"
#include "interface/context.h"
#include "options/options.h"

namespace {

constexpr double MX_UNB = std::numeric_limits<double>::infinity();

constexpr int mxLimitFlags(double lo, double hi) {
  return (lo != -MX_UNB ? MX_FLAG_MIN : 0) | (hi != MX_UNB ? MX_FLAG_MAX : 0);
}

constexpr MxParamSpec mxRowHead(int id, const char *api, const char *name, const char *desc,
                                int type, int tags) {
  MxParamSpec r{};
  r.apiId = id;
  r.apiName = api;
  r.name = name;
  r.description = desc;
  r.type = type;
  r.tags = tags;
  r.defaultIndex = -1;
  return r;
}

constexpr MxParamSpec mxIntRow(int id, const char *api, const char *name, int tags, int def,
                               double lo, double hi, const char *desc,
                               int MxOptionBlock::*place) {
  MxParamSpec r = mxRowHead(id, api, name, desc, MX_PARAMTYPE_INTEGER, tags);
  r.flags = mxLimitFlags(lo, hi);
  r.intDefault = def;
  r.intMin = lo == -MX_UNB ? std::numeric_limits<int>::min() : static_cast<int>(lo);
  r.intMax = hi == MX_UNB ? std::numeric_limits<int>::max() : static_cast<int>(hi);
  r.intPlace = place;
  return r;
}

constexpr MxParamSpec mxDblRow(int id, const char *api, const char *name, int tags, double def,
                               double lo, double hi, int extraFlags, const char *desc,
                               double MxOptionBlock::*place) {
  MxParamSpec r = mxRowHead(id, api, name, desc, MX_PARAMTYPE_FLOAT, tags);
  r.flags = mxLimitFlags(lo, hi) | extraFlags;
  r.dblDefault = def;
  r.dblMin = lo == -MX_UNB ? -MX_INFINITY : lo;
  r.dblMax = hi == MX_UNB ? MX_INFINITY : hi;
  r.dblPlace = place;
  return r;
}

constexpr MxParamSpec mxStrRow(int id, const char *api, const char *name, int tags,
                               const char *desc, std::string MxOptionBlock::*place) {
  MxParamSpec r = mxRowHead(id, api, name, desc, MX_PARAMTYPE_STRING, tags);
  r.strDefault = nullptr;
  r.strPlace = place;
  return r;
}

template <size_t N>
constexpr MxParamSpec mxEnumRow(int id, const char *api, const char *name, int tags, int def,
                                const char *desc, const MxEnumValue (&values)[N],
                                int MxOptionBlock::*place) {
  MxParamSpec r = mxRowHead(id, api, name, desc, MX_PARAMTYPE_ENUM, tags);
  r.numValues = static_cast<int>(N);
  r.values = values;
  for (size_t i = 0; i < N; ++i)
    if (values[i].value == def) r.defaultIndex = static_cast<int>(i);
  r.intPlace = place;
  return r;
}

#define MX_VAL(v, nm, doc) MxEnumValue{nm, v, doc, 0}
#define MX_VAL_HIDDEN(v, nm, doc) MxEnumValue{nm, v, doc, 1}

// The value lists of the enum rows.
#define MX_OPT_INT(n, U, tags, def, lo, hi, desc)
#define MX_OPT_DBL(n, U, tags, def, lo, hi, desc)
#define MX_OPT_DBL_AUTO(n, U, tags, lo, hi, desc)
#define MX_OPT_STR(n, U, tags, desc)
#define MX_OPT_ENUM(n, U, tags, def, desc, ...) constexpr MxEnumValue kValues_##n[] = {__VA_ARGS__};
#include "options/option_table.def"
#undef MX_OPT_INT
#undef MX_OPT_DBL
#undef MX_OPT_DBL_AUTO
#undef MX_OPT_STR
#undef MX_OPT_ENUM

constexpr MxParamSpec morvexspecs[] = {
#define MX_OPT_INT(n, U, tags, def, lo, hi, desc) \
  mxIntRow(MX_PARAM_##U, "MX_PARAM_" #U, #n, tags, def, lo, hi, desc, &MxOptionBlock::n),
#define MX_OPT_DBL(n, U, tags, def, lo, hi, desc) \
  mxDblRow(MX_PARAM_##U, "MX_PARAM_" #U, #n, tags, def, lo, hi, 0, desc, &MxOptionBlock::n),
#define MX_OPT_DBL_AUTO(n, U, tags, lo, hi, desc)                                       \
  mxDblRow(MX_PARAM_##U, "MX_PARAM_" #U, #n, tags, 0.0, lo, hi, MX_FLAG_RUNTIME_DEFAULT, \
           desc, &MxOptionBlock::n),
#define MX_OPT_STR(n, U, tags, desc) \
  mxStrRow(MX_PARAM_##U, "MX_PARAM_" #U, #n, tags, desc, &MxOptionBlock::n),
#define MX_OPT_ENUM(n, U, tags, def, desc, ...) \
  mxEnumRow(MX_PARAM_##U, "MX_PARAM_" #U, #n, tags, def, desc, kValues_##n, &MxOptionBlock::n),
#include "options/option_table.def"
#undef MX_OPT_INT
#undef MX_OPT_DBL
#undef MX_OPT_DBL_AUTO
#undef MX_OPT_STR
#undef MX_OPT_ENUM
};

#undef MX_VAL
#undef MX_VAL_HIDDEN

constexpr int mxByteCompare(const char *a, const char *b) {
  for (;; ++a, ++b) {
    const unsigned char ca = static_cast<unsigned char>(*a);
    const unsigned char cb = static_cast<unsigned char>(*b);
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}

constexpr bool mxTableSorted() {
  for (size_t i = 1; i < std::size(morvexspecs); ++i)
    if (mxByteCompare(morvexspecs[i - 1].name, morvexspecs[i].name) >= 0) return false;
  return true;
}

constexpr bool mxIdsDistinctAndInRange() {
  for (size_t i = 0; i < std::size(morvexspecs); ++i) {
    if (morvexspecs[i].apiId < 1000 || morvexspecs[i].apiId > 4012) return false;
    for (size_t j = 0; j < i; ++j)
      if (morvexspecs[i].apiId == morvexspecs[j].apiId) return false;
  }
  return true;
}

// Every enum default is a listed value; a hidden default would be a value
// that the listings never show.
constexpr bool mxEnumDefaultsListed() {
  for (const MxParamSpec &r : morvexspecs) {
    if (r.type != MX_PARAMTYPE_ENUM) continue;
    if (r.defaultIndex < 0 || r.values[r.defaultIndex].internal) return false;
  }
  return true;
}

static_assert(std::size(morvexspecs) == MX_NUM_PARAM_SPECS, "the option table has 216 rows");
static_assert(mxTableSorted(), "option rows must be sorted by name in byte order");
static_assert(mxIdsDistinctAndInRange(), "option ids must be distinct and within 1000..4012");
static_assert(mxEnumDefaultsListed(), "an enum default must be one of its listed values");

struct MxDeprecatedId {
  int oldId, newId, keep;
};
constexpr MxDeprecatedId deprecatedAPIIds[] = {
    {MX_PARAM_PAR_NUMTHREADS, MX_PARAM_NUMTHREADS, 1},
    {MX_PARAM_PAR_CONCURRENT_EVALS, MX_PARAM_CONCURRENT_EVALS, 1},
    {MX_PARAM_PAR_BLASNUMTHREADS, MX_PARAM_BLAS_NUMTHREADS, 1},
    {MX_PARAM_PAR_LSNUMTHREADS, MX_PARAM_LINSOLVER_NUMTHREADS, 1},
    {MX_PARAM_PAR_MSNUMTHREADS, MX_PARAM_MS_NUMTHREADS, 1},
    {MX_PARAM_PAR_CONICNUMTHREADS, MX_PARAM_CONIC_NUMTHREADS, 1},
    {MX_PARAM_SHIFTINIT, MX_PARAM_HONORBNDS, 0},
};

struct MxDeprecatedName {
  const char *oldName;
  int newId, keep;
};
constexpr MxDeprecatedName deprecatedNames[] = {
    {"alg", MX_PARAM_ALGORITHM, 1},
    {"bar_initshiftol", MX_PARAM_BAR_INITSHIFTTOL, 1},
    {"feasible", MX_PARAM_BAR_FEASIBLE, 1},
    {"feasmodetol", MX_PARAM_BAR_FEASMODETOL, 1},
    {"feastolabs", MX_PARAM_FEASTOL_ABS, 1},
    {"maxcgit", MX_PARAM_CG_MAXIT, 1},
    {"maxcrossit", MX_PARAM_BAR_MAXCROSSIT, 1},
    {"mip_heuristic", MX_PARAM_MIP_HEURISTIC_STRATEGY, 1},
    {"mip_integral_gap_abs", MX_PARAM_MIP_OPT_GAP_ABS, 1},
    {"mip_integral_gap_rel", MX_PARAM_MIP_OPT_GAP_REL, 1},
    {"mu", MX_PARAM_BAR_INITMU, 1},
    {"multistart", MX_PARAM_MS_ENABLE, 1},
    {"opttolabs", MX_PARAM_OPTTOL_ABS, 1},
    {"par_blasnumthreads", MX_PARAM_BLAS_NUMTHREADS, 1},
    {"par_concurrent_evals", MX_PARAM_CONCURRENT_EVALS, 1},
    {"par_conicnumthreads", MX_PARAM_CONIC_NUMTHREADS, 1},
    {"par_lsnumthreads", MX_PARAM_LINSOLVER_NUMTHREADS, 1},
    {"par_msnumthreads", MX_PARAM_MS_NUMTHREADS, 1},
    {"par_numthreads", MX_PARAM_NUMTHREADS, 1},
    {"pivot", MX_PARAM_LINSOLVER_PIVOTTOL, 1},
    {"threads", MX_PARAM_NUMTHREADS, 1},
    {"direct", MX_PARAM_ALGORITHM, 0},
    {"initpt", MX_PARAM_BAR_INITPT, 0},
    {"iprint", MX_PARAM_OUTLEV, 0},
    {"nout", MX_PARAM_OUTMODE, 0},
    {"shiftinit", MX_PARAM_HONORBNDS, 0},
};

constexpr int MX_ID_FIRST = 1000;
constexpr int MX_ID_SLOTS = 3013;  // ids 1000..4012

// Row index per id, -1 where no row has the id. A function-local static is
// built once even when first used from several threads.
const std::vector<short> &mxIdMap() {
  static const std::vector<short> map = [] {
    std::vector<short> m(MX_ID_SLOTS, -1);
    for (size_t i = 0; i < std::size(morvexspecs); ++i)
      m[morvexspecs[i].apiId - MX_ID_FIRST] = static_cast<short>(i);
    return m;
  }();
  return map;
}

const MxParamSpec *mxRowOfId(int apiId) {
  if (apiId < MX_ID_FIRST || apiId >= MX_ID_FIRST + MX_ID_SLOTS) return nullptr;
  const short index = mxIdMap()[apiId - MX_ID_FIRST];
  return index < 0 ? nullptr : &morvexspecs[index];
}

int mxCaseCompare(const char *a, const char *b) {
  for (;; ++a, ++b) {
    const int ca = std::tolower(static_cast<unsigned char>(*a));
    const int cb = std::tolower(static_cast<unsigned char>(*b));
    if (ca != cb) return ca - cb;
    if (ca == 0) return 0;
  }
}

const MxParamSpec *mxDeprecatedNameRow(MXL_context *ctx, const char *name) {
  for (const MxDeprecatedName &d : deprecatedNames) {
    if (mxCaseCompare(d.oldName, name) != 0) continue;
    const MxParamSpec *row = mxRowOfId(d.newId);
    if (ctx != nullptr)
      mxl_printf(ctx, "WARNING:  Option '%s' deprecated, please use '%s'.\n", name,
                 row != nullptr ? row->name : "");
    return d.keep ? row : nullptr;
  }
  return nullptr;
}

// Byte offset of a member pointer, measured on a block of static storage.
const MxOptionBlock &mxPrototypeBlock() {
  static const MxOptionBlock proto{};
  return proto;
}

// Row index per four bytes of the block, -1 between values.
const std::vector<short> &mxPlaceMap() {
  static const std::vector<short> map = [] {
    std::vector<short> m(sizeof(MxOptionBlock) / 4 + 1, -1);
    for (size_t i = 0; i < std::size(morvexspecs); ++i)
      m[getParamPlaceOffset(morvexspecs[i]) / 4] = static_cast<short>(i);
    return m;
  }();
  return map;
}

}  // namespace

const MxParamSpec *getMorvexParamSpecifications() { return morvexspecs; }
int getNbParamSpecs() { return static_cast<int>(std::size(morvexspecs)); }
int mxParamIndex(const MxParamSpec *row) { return static_cast<int>(row - morvexspecs); }

bool mxParamIsInt(const MxParamSpec &row) {
  return row.type == MX_PARAMTYPE_INTEGER || row.type == MX_PARAMTYPE_ENUM;
}

void initializeParamAPIIdMap() { (void)mxIdMap(); }

const MxParamSpec *getParamSpecsFromAPIId(MXL_context *ctx, int apiId) {
  if (const MxParamSpec *row = mxRowOfId(apiId)) return row;
  for (const MxDeprecatedId &d : deprecatedAPIIds) {
    if (d.oldId != apiId) continue;
    const MxParamSpec *row = mxRowOfId(d.newId);
    if (ctx != nullptr) {
      if (row != nullptr)
        mxl_printf(ctx, "WARNING:  Option id '%d' deprecated, please use '%s' (value %d).\n",
                   apiId, row->apiName, d.newId);
      else
        mxl_printf(ctx, "WARNING:  Option id '%d' deprecated, please use '%d'.\n", apiId,
                   d.newId);
    }
    return d.keep ? row : nullptr;
  }
  return nullptr;
}

const MxParamSpec *getParamSpecsFromNameBinSearch(MXL_context *ctx, const char *name) {
  if (name == nullptr) return nullptr;
  int low = 0, high = getNbParamSpecs() - 1;
  while (low <= high) {
    const int mid = low + (high - low) / 2;
    const int cmp = mxByteCompare(name, morvexspecs[mid].name);
    if (cmp == 0) return &morvexspecs[mid];
    if (cmp < 0)
      high = mid - 1;
    else
      low = mid + 1;
  }
  return mxDeprecatedNameRow(ctx, name);
}

int getParamPlaceOffset(const MxParamSpec &row) {
  const MxOptionBlock &proto = mxPrototypeBlock();
  const void *slot = nullptr;
  if (row.intPlace != nullptr)
    slot = &(proto.*row.intPlace);
  else if (row.dblPlace != nullptr)
    slot = &(proto.*row.dblPlace);
  else
    slot = &(proto.*row.strPlace);
  return static_cast<int>(static_cast<const char *>(slot) -
                          reinterpret_cast<const char *>(&proto));
}

void initStaticOptionMapping() { (void)mxPlaceMap(); }

const MxParamSpec *getParamSpecsFromPtr(const MXL_context *ctx, const void *place) {
  const char *base = reinterpret_cast<const char *>(&ctx->opt);
  const char *p = static_cast<const char *>(place);
  if (p < base || p >= base + sizeof(MxOptionBlock)) return nullptr;
  const size_t offset = static_cast<size_t>(p - base);
  if (offset % 4 != 0) return nullptr;
  const short index = mxPlaceMap()[offset / 4];
  return index < 0 ? nullptr : &morvexspecs[index];
}

const MxParamSpec *getIntParamSpecs(const MXL_context *ctx, const int *place) {
  const MxParamSpec *row = getParamSpecsFromPtr(ctx, place);
  return row != nullptr && mxParamIsInt(*row) ? row : nullptr;
}

const MxParamSpec *getDblParamSpecs(const MXL_context *ctx, const double *place) {
  const MxParamSpec *row = getParamSpecsFromPtr(ctx, place);
  return row != nullptr && row->type == MX_PARAMTYPE_FLOAT ? row : nullptr;
}

const MxParamSpec *getStrParamSpecs(const MXL_context *ctx, const std::string *place) {
  const MxParamSpec *row = getParamSpecsFromPtr(ctx, place);
  return row != nullptr && row->type == MX_PARAMTYPE_STRING ? row : nullptr;
}

int &mxIntSlot(MxOptionBlock &opt, const MxParamSpec &row) { return opt.*row.intPlace; }
double &mxDblSlot(MxOptionBlock &opt, const MxParamSpec &row) { return opt.*row.dblPlace; }
std::string &mxStrSlot(MxOptionBlock &opt, const MxParamSpec &row) { return opt.*row.strPlace; }

int getEnumParamDefaultValue(const MxParamSpec &row) {
  return row.values[row.defaultIndex].value;
}

int getIntParamDefaultValue(const MxParamSpec &row) {
  if (row.type == MX_PARAMTYPE_ENUM) return getEnumParamDefaultValue(row);
  if (row.flags & MX_FLAG_RUNTIME_DEFAULT) return 0;
  return row.intDefault;
}

bool mxIsNodeSubproblem(const MXL_context *ctx) {
  const int kind = ctx->subproblemKind;
  return kind == 1 || kind == 8 || kind == 9;
}

double getDblParamDefaultValue(const MXL_context *ctx, const MxParamSpec &row) {
  if (!(row.flags & MX_FLAG_RUNTIME_DEFAULT)) return row.dblDefault;
  if (row.apiId != MX_PARAM_FEASTOL_ABS) return 0.0;
  return ctx != nullptr && mxIsNodeSubproblem(ctx) ? 1e-6 : 1e-3;
}

int getIntDefaultValueFromAPIId(int apiId) {
  const MxParamSpec *row = getParamSpecsFromAPIId(nullptr, apiId);
  return row != nullptr && mxParamIsInt(*row) ? getIntParamDefaultValue(*row) : 0;
}

double getDblDefaultValueFromAPIId(const MXL_context *ctx, int apiId) {
  const MxParamSpec *row = getParamSpecsFromAPIId(nullptr, apiId);
  return row != nullptr && row->type == MX_PARAMTYPE_FLOAT ? getDblParamDefaultValue(ctx, *row)
                                                            : 0.0;
}

void setStrParamValue(MXL_context *ctx, const MxParamSpec &row, const char *value) {
  mxStrSlot(ctx->opt, row).assign(value != nullptr ? value : "");
}

void resetParamToDefault(MXL_context *ctx, const MxParamSpec &row) {
  switch (row.type) {
    case MX_PARAMTYPE_INTEGER:
    case MX_PARAMTYPE_ENUM:
      mxIntSlot(ctx->opt, row) = getIntParamDefaultValue(row);
      break;
    case MX_PARAMTYPE_FLOAT:
      mxDblSlot(ctx->opt, row) = getDblParamDefaultValue(ctx, row);
      break;
    default:
      setStrParamValue(ctx, row, row.strDefault);
      break;
  }
}

void MXL_reset_params_to_defaults(MXL_context *ctx) {
  for (const MxParamSpec &row : morvexspecs) resetParamToDefault(ctx, row);
}

const char *getKOptTagStr(int tagBit) {
  switch (tagBit) {
    case MX_TAG_ACTIVE_SET: return "Active-Set";
    case MX_TAG_BARRIER: return "Barrier";
    case MX_TAG_DERIVATIVES: return "Derivatives";
    case MX_TAG_GENERAL: return "General";
    case MX_TAG_MIP: return "MIP";
    case MX_TAG_MULTIALG: return "Multi-algorithm";
    case MX_TAG_MULTISTART: return "Multi-start";
    case MX_TAG_OUTPUT: return "Output";
    case MX_TAG_PARALLELISM: return "Parallelism";
    case MX_TAG_PRESOLVE: return "Presolve";
    case MX_TAG_TERMINATION: return "Termination";
    case MX_TAG_TUNER: return "Tuner";
    case MX_TAG_DEPRECATED: return "Deprecated";
    case 16384: return "Importance 1";
    case 32768: return "Importance 2";
    case 65536: return "Importance 3";
    default: return nullptr;
  }
}

bool assertOptionDefinitionConsistency() {
  std::vector<char> used(sizeof(MxOptionBlock), 0);
  for (const MxParamSpec &row : morvexspecs) {
    const int places = (row.intPlace != nullptr) + (row.dblPlace != nullptr) +
                       (row.strPlace != nullptr);
    if (places != 1) return false;
    const int offset = getParamPlaceOffset(row);
    if (offset < 0 || static_cast<size_t>(offset) >= used.size() || offset % 4 != 0 ||
        used[offset])
      return false;
    used[offset] = 1;
  }
  return true;
}
