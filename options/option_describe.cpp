// Listings of the option table: the text listing and the JSON description.
#include <cjson/cJSON.h>

#include <cstdio>
#include <memory>
#include <new>

#include "driver/print.h"
#include "interface/context.h"
#include "options/options.h"

namespace {

void mxPrintTags(MXL_context *ctx, int tags) {
  mxl_printf(ctx, "\t\ttags:");
  for (int bit = 1; bit <= MX_TAG_LAST; bit <<= 1) {
    if (!(tags & bit)) continue;
    if (const char *tag = getKOptTagStr(bit)) mxl_printf(ctx, " %s", tag);
  }
}

void mxPrintEnumValues(MXL_context *ctx, const MxParamSpec &row, int showInternal) {
  // The header ends the line: the values below are indented lines of their own.
  mxl_printf(ctx, "\t\tPossible values:\n");
  for (int i = 0; i < row.numValues; ++i) {
    const MxEnumValue &v = row.values[i];
    if (showInternal)
      mxl_printf(ctx, "\t\t\t%s\t(%d): %s (internal=%d)\n", v.name, v.value, v.doc, v.internal);
    else if (!v.internal)
      mxl_printf(ctx, "\t\t\t%s\t(%d): %s\n", v.name, v.value, v.doc);
  }
}

void mxPrintDefault(MXL_context *ctx, const MxParamSpec &row, int showInternal) {
  mxl_printf(ctx, "\n\t\tDefault value: ");
  const bool runtime = (row.flags & MX_FLAG_RUNTIME_DEFAULT) != 0;
  switch (row.type) {
    case MX_PARAMTYPE_INTEGER:
      if (runtime)
        mxl_printf(ctx, "auto (integer)\n");
      else
        mxl_printf(ctx, "%d (integer)\n", row.intDefault);
      break;
    case MX_PARAMTYPE_FLOAT:
      if (runtime)
        mxl_printf(ctx, "auto (float)\n");
      else
        mxl_printf(ctx, "%g (float)\n", row.dblDefault);
      break;
    case MX_PARAMTYPE_STRING:
      mxl_printf(ctx, "%s (string)\n", row.strDefault != nullptr ? row.strDefault : "None");
      break;
    default: {
      const MxEnumValue &def = row.values[row.defaultIndex];
      mxl_printf(ctx, "%s (%d) (enum)\n", def.name, def.value);
      mxPrintEnumValues(ctx, row, showInternal);
      break;
    }
  }
}

struct CJsonDeleter {
  void operator()(cJSON *item) const { cJSON_Delete(item); }
};
using CJsonPtr = std::unique_ptr<cJSON, CJsonDeleter>;

// cJSON reports a failed allocation by a null result.
template <class T>
T *mxJsonChecked(T *item) {
  if (item == nullptr) throw std::bad_alloc();
  return item;
}

void mxJsonAdd(cJSON *object, const char *key, cJSON *item) {
  mxJsonChecked(item);
  cJSON_AddItemToObject(object, key, item);
}

cJSON *mxJsonTags(int tags) {
  cJSON *list = mxJsonChecked(cJSON_CreateArray());
  for (int bit = 1; bit <= MX_TAG_LAST; bit <<= 1) {
    const char *tag = (tags & bit) ? getKOptTagStr(bit) : nullptr;
    if (tag != nullptr) cJSON_AddItemToArray(list, mxJsonChecked(cJSON_CreateString(tag)));
  }
  return list;
}

void mxJsonLimits(cJSON *entry, const MxParamSpec &row, double lo, double hi) {
  if (row.flags & MX_FLAG_MIN) mxJsonAdd(entry, "minValue", cJSON_CreateNumber(lo));
  if (row.flags & MX_FLAG_MAX) mxJsonAdd(entry, "maxValue", cJSON_CreateNumber(hi));
}

void mxJsonEnum(cJSON *entry, const MxParamSpec &row) {
  const MxEnumValue &def = row.values[row.defaultIndex];
  mxJsonAdd(entry, "defaultValue", cJSON_CreateNumber(def.value));
  mxJsonAdd(entry, "defaultItem", cJSON_CreateString(def.name));
  cJSON *items = mxJsonChecked(cJSON_CreateArray());
  cJSON_AddItemToObject(entry, "items", items);
  for (int i = 0; i < row.numValues; ++i) {
    const MxEnumValue &v = row.values[i];
    if (v.internal) continue;
    cJSON *item = mxJsonChecked(cJSON_CreateObject());
    cJSON_AddItemToArray(items, item);
    mxJsonAdd(item, "value", cJSON_CreateNumber(v.value));
    mxJsonAdd(item, "name", cJSON_CreateString(v.name));
    mxJsonAdd(item, "description", cJSON_CreateString(v.doc));
  }
}

void mxJsonTyped(MXL_context *ctx, cJSON *entry, const MxParamSpec &row) {
  switch (row.type) {
    case MX_PARAMTYPE_INTEGER:
      mxJsonAdd(entry, "type", cJSON_CreateString("integer"));
      mxJsonAdd(entry, "defaultValue", cJSON_CreateNumber(getIntParamDefaultValue(row)));
      mxJsonLimits(entry, row, row.intMin, row.intMax);
      break;
    case MX_PARAMTYPE_FLOAT:
      mxJsonAdd(entry, "type", cJSON_CreateString("float"));
      mxJsonAdd(entry, "defaultValue", cJSON_CreateNumber(getDblParamDefaultValue(ctx, row)));
      mxJsonLimits(entry, row, row.dblMin, row.dblMax);
      break;
    case MX_PARAMTYPE_STRING:
      mxJsonAdd(entry, "type", cJSON_CreateString("string"));
      mxJsonAdd(entry, "defaultValue", row.strDefault != nullptr
                                           ? cJSON_CreateString(row.strDefault)
                                           : cJSON_CreateNull());
      break;
    default:
      mxJsonAdd(entry, "type", cJSON_CreateString("enum"));
      mxJsonEnum(entry, row);
      break;
  }
}

cJSON *mxJsonRow(MXL_context *ctx, const MxParamSpec &row) {
  CJsonPtr entry(mxJsonChecked(cJSON_CreateObject()));
  mxJsonAdd(entry.get(), "apiId", cJSON_CreateNumber(row.apiId));
  mxJsonAdd(entry.get(), "name", cJSON_CreateString(row.name));
  mxJsonAdd(entry.get(), "apiName", cJSON_CreateString(row.apiName));
  mxJsonAdd(entry.get(), "description", cJSON_CreateString(row.description));
  mxJsonAdd(entry.get(), "tags", mxJsonTags(row.tags));
  mxJsonTyped(ctx, entry.get(), row);
  return entry.release();
}

}  // namespace

void printParamSpecs(MXL_context *ctx, const MxParamSpec &row, int showInternal) {
  const int internal = (row.tags & MX_TAG_INTERNAL) != 0;
  if (internal && !showInternal) return;
  mxl_printf(ctx, "\t%s - %d - %s", row.apiName, row.apiId, row.name);
  if (showInternal)
    mxl_printf(ctx, " (internal=%d, offset=%d)", internal, getParamPlaceOffset(row));
  // The header ends the line: the description below is indented on its own.
  mxl_printf(ctx, ":\n");
  mxl_printf(ctx, "\t\t%s\n", row.description);
  mxPrintTags(ctx, row.tags);
  mxPrintDefault(ctx, row, showInternal);
}

void printAllParamSpecs(MXL_context *ctx, int showInternal) {
  mxl_printf(ctx, "Morvex options:\n");
  const MxParamSpec *table = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i) printParamSpecs(ctx, table[i], showInternal);
}

int writeJsonOptionsDefinition(MXL_context *ctx, const char *filename) {
  CJsonPtr list(mxJsonChecked(cJSON_CreateArray()));
  const MxParamSpec *table = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i)
    cJSON_AddItemToArray(list.get(), mxJsonRow(ctx, table[i]));
  std::unique_ptr<char, void (*)(void *)> text(mxJsonChecked(cJSON_Print(list.get())), cJSON_free);
  mxl_printf(ctx, "Writing options description JSON to %s\n", filename);
  std::FILE *file = std::fopen(filename, "w");
  if (file == nullptr) {
    mxl_printf(ctx, "Error opening %s.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  const bool written = std::fputs(text.get(), file) >= 0 && std::fputc('\n', file) != EOF;
  const bool closed = std::fclose(file) == 0;
  if (!written || !closed) {
    mxl_printf(ctx, "Error writing %s.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  return 0;
}
