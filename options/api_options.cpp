// Exported option calls. Each MX_ call and its MXL_ twin run the same
// internal function, which names the MX_ call in its messages.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/print.h"
#include "interface/frame.h"
#include "options/options.h"

namespace {

// The id outside the table that sets the report id of a multi-start run.
constexpr int MX_MS_REPORT_ID = 999;

// An option named by id, or by name when name is not null.
struct MxKey {
  int id;
  const char *name;
};

int mxOptEnter(MXL_context *ctx, const char *fn) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  if (ctx->fatalError) return MX_RC_ILLEGAL_CALL;
  return 0;
}

// Multi-start, multi-algorithm and tuner drivers set options of their child
// contexts on purpose while the child counts as solving.
bool mxDriverSetsOptions(const MXL_context *ctx) {
  const int kind = ctx->subproblemKind;
  return kind == 2 || kind == 3 || kind == 4 || kind == 11;
}

// Tested before the lock: the solving thread holds it for the whole solve.
int mxSetterEnter(MXL_context *ctx, const char *fn) {
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  if (ctx->solveInProgress && !mxDriverSetsOptions(ctx)) {
    mxl_printf(ctx, "WARNING: Cannot call %s while solving.\n", fn);
    return MX_RC_ILLEGAL_CALL;
  }
  return 0;
}

// A failed option call leaves the context usable: nothing was stored.
int mxFail(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  return code;
}

int mxUnknown(MXL_context *ctx, const char *fn, MxKey key) {
  if (key.name != nullptr)
    mxl_printf(ctx, "%s() Unknown parameter %s\n", fn, key.name);
  else
    mxl_printf(ctx, "%s() Unknown parameter %d\n", fn, key.id);
  return mxFail(ctx, MX_RC_BAD_PARAMINPUT);
}

int mxNullArgument(MXL_context *ctx, const char *fn, const char *what) {
  mxl_printf(ctx, "ERROR: %s() given a null pointer for '%s'.\n", fn, what);
  return mxFail(ctx, MX_RC_NULL_POINTER);
}

// The row of a key; by name the warnings of old names go to the context.
const MxParamSpec *mxFind(MXL_context *ctx, MxKey key) {
  if (key.name != nullptr) return getParamSpecsFromNameBinSearch(ctx, key.name);
  return getParamSpecsFromAPIId(ctx, key.id);
}

bool mxRoutesOutput(int apiId) {
  return apiId == MX_PARAM_OUTLEV || apiId == MX_PARAM_OUTMODE || apiId == MX_PARAM_OUTNAME ||
         apiId == MX_PARAM_OUTDIR;
}

int mxSetInt(MXL_context *ctx, const char *fn, MxKey key, int value) {
  if (int rc = mxSetterEnter(ctx, fn)) return rc;
  if (key.name == nullptr && key.id == MX_MS_REPORT_ID) {
    MxLock lock(ctx->mutex);
    ctx->msReportId = value;
    return 0;
  }
  const MxParamSpec *row = mxFind(ctx, key);
  if (row == nullptr || !mxParamIsInt(*row)) return mxUnknown(ctx, fn, key);
  MxLock lock(ctx->mutex);
  mxStoreInt(ctx, *row, value);
  return 0;
}

int mxSetDouble(MXL_context *ctx, const char *fn, MxKey key, double value) {
  if (int rc = mxSetterEnter(ctx, fn)) return rc;
  const MxParamSpec *row = mxFind(ctx, key);
  if (row == nullptr || row->type != MX_PARAMTYPE_FLOAT) return mxUnknown(ctx, fn, key);
  MxLock lock(ctx->mutex);
  mxDblSlot(ctx->opt, *row) = value;
  return 0;
}

int mxSetChar(MXL_context *ctx, const char *fn, MxKey key, const char *value) {
  if (int rc = mxSetterEnter(ctx, fn)) return rc;
  const MxParamSpec *row = mxFind(ctx, key);
  if (row == nullptr || row->type != MX_PARAMTYPE_STRING) return mxUnknown(ctx, fn, key);
  std::string copy(value != nullptr ? value : "");  // may throw before anything changes
  MxLock lock(ctx->mutex);
  mxStoreStr(ctx, *row, std::move(copy));
  return 0;
}

int mxSetByName(MXL_context *ctx, const char *fn, const char *name, double value) {
  if (int rc = mxSetterEnter(ctx, fn)) return rc;
  const MxKey key{0, name};
  const MxParamSpec *row = mxFind(ctx, key);
  if (row == nullptr || row->type == MX_PARAMTYPE_STRING) return mxUnknown(ctx, fn, key);
  if (row->type == MX_PARAMTYPE_FLOAT) {
    MxLock lock(ctx->mutex);
    mxDblSlot(ctx->opt, *row) = value;
    return 0;
  }
  // Truncation toward zero; a value without an int equivalent is refused.
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    mxl_printf(ctx, "%s() Invalid value %g for parameter %s\n", fn, value, name);
    return mxFail(ctx, MX_RC_BAD_PARAMINPUT);
  }
  MxLock lock(ctx->mutex);
  mxStoreInt(ctx, *row, static_cast<int>(value));
  return 0;
}

int mxGetInt(MXL_context *ctx, const char *fn, MxKey key, int *value) {
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  if (value == nullptr) return mxNullArgument(ctx, fn, "value");
  if (key.name == nullptr && key.id == MX_MS_REPORT_ID) {
    *value = ctx->msReportId;
    return 0;
  }
  const MxParamSpec *row = mxFind(ctx, key);
  if (row == nullptr || !mxParamIsInt(*row)) return mxUnknown(ctx, fn, key);
  *value = mxIntSlot(ctx->opt, *row);
  return 0;
}

int mxGetDouble(MXL_context *ctx, const char *fn, MxKey key, double *value) {
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  if (value == nullptr) return mxNullArgument(ctx, fn, "value");
  const MxParamSpec *row = mxFind(ctx, key);
  if (row == nullptr || row->type != MX_PARAMTYPE_FLOAT) return mxUnknown(ctx, fn, key);
  *value = mxDblSlot(ctx->opt, *row);
  return 0;
}

// Copies text cut to bufferSize - 1 characters, always terminated.
int mxCopyText(MXL_context *ctx, const char *fn, const std::string &text, char *buffer,
               int bufferSize) {
  if (buffer == nullptr) return mxNullArgument(ctx, fn, "buffer");
  if (bufferSize < 1) {
    mxl_printf(ctx, "ERROR: %s() given a buffer size of %d.\n", fn, bufferSize);
    return mxFail(ctx, MX_RC_BAD_PARAMINPUT);
  }
  const size_t n = std::min(text.size(), static_cast<size_t>(bufferSize) - 1);
  std::memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
  return 0;
}

// The row of an id for the reading calls; prints and fails on a miss.
int mxInfoRow(MXL_context *ctx, const char *fn, int id, const MxParamSpec **row) {
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  *row = getParamSpecsFromAPIId(ctx, id);
  if (*row == nullptr) return mxUnknown(ctx, fn, MxKey{id, nullptr});
  return 0;
}

int mxGetName(MXL_context *ctx, int id, char *buffer, int bufferSize) {
  const char *fn = "MX_get_param_name";
  const MxParamSpec *row = nullptr;
  if (int rc = mxInfoRow(ctx, fn, id, &row)) return rc;
  return mxCopyText(ctx, fn, row->name, buffer, bufferSize);
}

int mxGetDoc(MXL_context *ctx, int id, char *buffer, int bufferSize) {
  const char *fn = "MX_get_param_doc";
  const MxParamSpec *row = nullptr;
  if (int rc = mxInfoRow(ctx, fn, id, &row)) return rc;
  const char *doc = (row->tags & MX_TAG_INTERNAL) ? "Internal parameter" : row->description;
  return mxCopyText(ctx, fn, doc, buffer, bufferSize);
}

int mxGetType(MXL_context *ctx, int id, int *type) {
  const char *fn = "MX_get_param_type";
  const MxParamSpec *row = nullptr;
  if (int rc = mxInfoRow(ctx, fn, id, &row)) return rc;
  if (type == nullptr) return mxNullArgument(ctx, fn, "param_type");
  *type = row->type;
  return 0;
}

// Hidden values are valid but not listed, so the index runs over the rest.
const MxEnumValue *mxListedValue(const MxParamSpec &row, int index) {
  for (int i = 0; i < row.numValues; ++i) {
    if (row.values[i].internal) continue;
    if (index-- == 0) return &row.values[i];
  }
  return nullptr;
}

int mxListedCount(const MxParamSpec &row) {
  int count = 0;
  for (int i = 0; i < row.numValues; ++i) count += !row.values[i].internal;
  return count;
}

int mxGetNumValues(MXL_context *ctx, int id, int *numValues) {
  const char *fn = "MX_get_num_param_values";
  const MxParamSpec *row = nullptr;
  if (int rc = mxInfoRow(ctx, fn, id, &row)) return rc;
  if (numValues == nullptr) return mxNullArgument(ctx, fn, "num_values");
  *numValues = row->type == MX_PARAMTYPE_ENUM ? mxListedCount(*row) : 0;
  return 0;
}

int mxValueDoc(MXL_context *ctx, const char *fn, const MxEnumValue &v, char *buffer,
               int bufferSize) {
  char head[32];
  std::snprintf(head, sizeof head, "%d", v.value);
  return mxCopyText(ctx, fn, std::string(head) + " (" + v.name + "): " + v.doc, buffer,
                    bufferSize);
}

int mxBadValue(MXL_context *ctx, const char *fn, int id, const char *what, int value) {
  mxl_printf(ctx, "%s() Invalid %s %d for parameter %d\n", fn, what, value, id);
  return mxFail(ctx, MX_RC_BAD_PARAMINPUT);
}

int mxGetValueDoc(MXL_context *ctx, int id, int value, char *buffer, int bufferSize) {
  const char *fn = "MX_get_param_value_doc";
  const MxParamSpec *row = nullptr;
  if (int rc = mxInfoRow(ctx, fn, id, &row)) return rc;
  for (int i = 0; row->type == MX_PARAMTYPE_ENUM && i < row->numValues; ++i)
    if (row->values[i].value == value) return mxValueDoc(ctx, fn, row->values[i], buffer, bufferSize);
  return mxBadValue(ctx, fn, id, "value", value);
}

int mxGetValueDocFromIndex(MXL_context *ctx, int id, int index, char *buffer, int bufferSize) {
  const char *fn = "MX_get_param_value_doc_from_index";
  const MxParamSpec *row = nullptr;
  if (int rc = mxInfoRow(ctx, fn, id, &row)) return rc;
  const MxEnumValue *v = row->type == MX_PARAMTYPE_ENUM ? mxListedValue(*row, index) : nullptr;
  if (v == nullptr) return mxBadValue(ctx, fn, id, "value index", index);
  return mxValueDoc(ctx, fn, *v, buffer, bufferSize);
}

int mxGetId(MXL_context *ctx, const char *name, int *id) {
  const char *fn = "MX_get_param_id";
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  if (name == nullptr) return mxNullArgument(ctx, fn, "name");
  if (id == nullptr) return mxNullArgument(ctx, fn, "param_id");
  const MxParamSpec *row = getParamSpecsFromNameBinSearch(ctx, name);
  if (row == nullptr) return mxUnknown(ctx, fn, MxKey{0, name});
  *id = row->apiId;
  return 0;
}

int mxGetIdFromIndex(MXL_context *ctx, int index, int *id) {
  const char *fn = "MX_get_param_id_from_index";
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  if (id == nullptr) return mxNullArgument(ctx, fn, "param_id");
  if (index < 0 || index >= getNbParamSpecs()) {
    *id = -1;
    mxl_printf(ctx, "%s() Invalid parameter index %d\n", fn, index);
    return mxFail(ctx, MX_RC_BAD_PARAMINPUT);
  }
  *id = getMorvexParamSpecifications()[index].apiId;
  return 0;
}

int mxWriteDesc(MXL_context *ctx, const char *filename) {
  const char *fn = "MX_write_param_desc_file";
  if (int rc = mxOptEnter(ctx, fn)) return rc;
  if (filename == nullptr) return mxNullArgument(ctx, fn, "filename");
  const int rc = writeJsonOptionsDefinition(ctx, filename);
  return rc == 0 ? 0 : mxFail(ctx, rc);
}

}  // namespace

// The print routing keeps the level and destination in range itself.
void mxStoreInt(MXL_context *ctx, const MxParamSpec &row, int value) {
  mxIntSlot(ctx->opt, row) = value;
  if (mxRoutesOutput(row.apiId)) mxl_output_option_changed(ctx);
}

void mxStoreStr(MXL_context *ctx, const MxParamSpec &row, std::string value) {
  mxStrSlot(ctx->opt, row).swap(value);
  if (mxRoutesOutput(row.apiId)) mxl_output_option_changed(ctx);
}

// Both families share one body per call.
#define MX_OPTION_CALL(ctx, expr) return mx_guard(ctx, [&]() { return expr; })

extern "C" {

MX_EXPORT int MXL_set_int_param(MXL_context_ptr mx, int param_id, int value) {
  MX_OPTION_CALL(mx, mxSetInt(mx, "MX_set_int_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MX_set_int_param(MX_context_ptr mx, int param_id, int value) {
  MX_OPTION_CALL(mx, mxSetInt(mx, "MX_set_int_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MXL_set_double_param(MXL_context_ptr mx, int param_id, double value) {
  MX_OPTION_CALL(mx, mxSetDouble(mx, "MX_set_double_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MX_set_double_param(MX_context_ptr mx, int param_id, double value) {
  MX_OPTION_CALL(mx, mxSetDouble(mx, "MX_set_double_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MXL_set_char_param(MXL_context_ptr mx, int param_id, const char *value) {
  MX_OPTION_CALL(mx, mxSetChar(mx, "MX_set_char_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MX_set_char_param(MX_context_ptr mx, int param_id, const char *value) {
  MX_OPTION_CALL(mx, mxSetChar(mx, "MX_set_char_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MXL_get_int_param(MXL_context_ptr mx, int param_id, int *value) {
  MX_OPTION_CALL(mx, mxGetInt(mx, "MX_get_int_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MX_get_int_param(MX_context_ptr mx, int param_id, int *value) {
  MX_OPTION_CALL(mx, mxGetInt(mx, "MX_get_int_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MXL_get_double_param(MXL_context_ptr mx, int param_id, double *value) {
  MX_OPTION_CALL(mx, mxGetDouble(mx, "MX_get_double_param", MxKey{param_id, nullptr}, value));
}
MX_EXPORT int MX_get_double_param(MX_context_ptr mx, int param_id, double *value) {
  MX_OPTION_CALL(mx, mxGetDouble(mx, "MX_get_double_param", MxKey{param_id, nullptr}, value));
}

MX_EXPORT int MXL_set_int_param_by_name(MXL_context_ptr mx, const char *name, int value) {
  MX_OPTION_CALL(mx, mxSetInt(mx, "MX_set_int_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MX_set_int_param_by_name(MX_context_ptr mx, const char *name, int value) {
  MX_OPTION_CALL(mx, mxSetInt(mx, "MX_set_int_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MXL_set_double_param_by_name(MXL_context_ptr mx, const char *name, double value) {
  MX_OPTION_CALL(mx, mxSetDouble(mx, "MX_set_double_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MX_set_double_param_by_name(MX_context_ptr mx, const char *name, double value) {
  MX_OPTION_CALL(mx, mxSetDouble(mx, "MX_set_double_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MXL_set_char_param_by_name(MXL_context_ptr mx, const char *name,
                                         const char *value) {
  MX_OPTION_CALL(mx, mxSetChar(mx, "MX_set_char_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MX_set_char_param_by_name(MX_context_ptr mx, const char *name, const char *value) {
  MX_OPTION_CALL(mx, mxSetChar(mx, "MX_set_char_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MXL_get_int_param_by_name(MXL_context_ptr mx, const char *name, int *value) {
  MX_OPTION_CALL(mx, mxGetInt(mx, "MX_get_int_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MX_get_int_param_by_name(MX_context_ptr mx, const char *name, int *value) {
  MX_OPTION_CALL(mx, mxGetInt(mx, "MX_get_int_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MXL_get_double_param_by_name(MXL_context_ptr mx, const char *name,
                                           double *value) {
  MX_OPTION_CALL(mx, mxGetDouble(mx, "MX_get_double_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MX_get_double_param_by_name(MX_context_ptr mx, const char *name, double *value) {
  MX_OPTION_CALL(mx, mxGetDouble(mx, "MX_get_double_param_by_name", MxKey{0, name}, value));
}
MX_EXPORT int MXL_set_param_by_name(MXL_context_ptr mx, const char *name, double value) {
  MX_OPTION_CALL(mx, mxSetByName(mx, "MX_set_param_by_name", name, value));
}
MX_EXPORT int MX_set_param_by_name(MX_context_ptr mx, const char *name, double value) {
  MX_OPTION_CALL(mx, mxSetByName(mx, "MX_set_param_by_name", name, value));
}

MX_EXPORT int MXL_get_param_name(MXL_context_ptr mx, int param_id, char *buffer,
                                 int bufferSize) {
  MX_OPTION_CALL(mx, mxGetName(mx, param_id, buffer, bufferSize));
}
MX_EXPORT int MX_get_param_name(MX_context_ptr mx, int param_id, char *buffer, int bufferSize) {
  MX_OPTION_CALL(mx, mxGetName(mx, param_id, buffer, bufferSize));
}
MX_EXPORT int MXL_get_param_doc(MXL_context_ptr mx, int param_id, char *buffer,
                                int bufferSize) {
  MX_OPTION_CALL(mx, mxGetDoc(mx, param_id, buffer, bufferSize));
}
MX_EXPORT int MX_get_param_doc(MX_context_ptr mx, int param_id, char *buffer, int bufferSize) {
  MX_OPTION_CALL(mx, mxGetDoc(mx, param_id, buffer, bufferSize));
}
MX_EXPORT int MXL_get_param_type(MXL_context_ptr mx, int param_id, int *param_type) {
  MX_OPTION_CALL(mx, mxGetType(mx, param_id, param_type));
}
MX_EXPORT int MX_get_param_type(MX_context_ptr mx, int param_id, int *param_type) {
  MX_OPTION_CALL(mx, mxGetType(mx, param_id, param_type));
}
MX_EXPORT int MXL_get_num_param_values(MXL_context_ptr mx, int param_id, int *num_values) {
  MX_OPTION_CALL(mx, mxGetNumValues(mx, param_id, num_values));
}
MX_EXPORT int MX_get_num_param_values(MX_context_ptr mx, int param_id, int *num_values) {
  MX_OPTION_CALL(mx, mxGetNumValues(mx, param_id, num_values));
}
MX_EXPORT int MXL_get_param_value_doc(MXL_context_ptr mx, int param_id, int value,
                                      char *buffer, int bufferSize) {
  MX_OPTION_CALL(mx, mxGetValueDoc(mx, param_id, value, buffer, bufferSize));
}
MX_EXPORT int MX_get_param_value_doc(MX_context_ptr mx, int param_id, int value, char *buffer,
                                     int bufferSize) {
  MX_OPTION_CALL(mx, mxGetValueDoc(mx, param_id, value, buffer, bufferSize));
}
MX_EXPORT int MXL_get_param_value_doc_from_index(MXL_context_ptr mx, int param_id,
                                                 int value_index, char *buffer,
                                                 int bufferSize) {
  MX_OPTION_CALL(mx, mxGetValueDocFromIndex(mx, param_id, value_index, buffer, bufferSize));
}
MX_EXPORT int MX_get_param_value_doc_from_index(MX_context_ptr mx, int param_id,
                                                int value_index, char *buffer,
                                                int bufferSize) {
  MX_OPTION_CALL(mx, mxGetValueDocFromIndex(mx, param_id, value_index, buffer, bufferSize));
}
MX_EXPORT int MXL_get_param_id(MXL_context_ptr mx, const char *name, int *param_id) {
  MX_OPTION_CALL(mx, mxGetId(mx, name, param_id));
}
MX_EXPORT int MX_get_param_id(MX_context_ptr mx, const char *name, int *param_id) {
  MX_OPTION_CALL(mx, mxGetId(mx, name, param_id));
}
MX_EXPORT int MXL_get_param_id_from_index(MXL_context_ptr mx, int param_index, int *param_id) {
  MX_OPTION_CALL(mx, mxGetIdFromIndex(mx, param_index, param_id));
}
MX_EXPORT int MX_get_param_id_from_index(MX_context_ptr mx, int param_index, int *param_id) {
  MX_OPTION_CALL(mx, mxGetIdFromIndex(mx, param_index, param_id));
}
MX_EXPORT int MXL_write_param_desc_file(MXL_context_ptr mx, const char *filename) {
  MX_OPTION_CALL(mx, mxWriteDesc(mx, filename));
}
MX_EXPORT int MX_write_param_desc_file(MX_context_ptr mx, const char *filename) {
  MX_OPTION_CALL(mx, mxWriteDesc(mx, filename));
}

}  // extern "C"
