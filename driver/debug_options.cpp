#include "driver/debug_options.h"

#include <cjson/cJSON.h>

#include <fstream>
#include <sstream>

#include "driver/print.h"

void MxJsonDeleter::operator()(cJSON *doc) const { cJSON_Delete(doc); }

MxJson mxReadDebugOptions(MXL_context *ctx, const std::string &path) {
  std::ifstream in(path);
  if (!in) {
    mxl_printf(ctx, "ERROR: Morvex could not open file '%s' for input.\n", path.c_str());
    return nullptr;
  }
  std::stringstream text;
  text << in.rdbuf();
  MxJson doc(cJSON_Parse(text.str().c_str()));
  if (!doc) mxl_printf(ctx, "WARNING: Could not parse debug options file '%s'.\n", path.c_str());
  return doc;
}

static const cJSON *mx_child(const cJSON *node, const char *key) {
  return node != nullptr && cJSON_IsObject(node) ? cJSON_GetObjectItemCaseSensitive(node, key) : nullptr;
}

const cJSON *getJsonSection1(const cJSON *root, const char *k1) { return mx_child(root, k1); }
const cJSON *getJsonSection2(const cJSON *root, const char *k1, const char *k2) {
  return mx_child(mx_child(root, k1), k2);
}
const cJSON *getJsonSection3(const cJSON *root, const char *k1, const char *k2, const char *k3) {
  return mx_child(getJsonSection2(root, k1, k2), k3);
}

static int mx_int(const cJSON *v, int def) { return cJSON_IsNumber(v) ? v->valueint : def; }
static double mx_double(const cJSON *v, double def) { return cJSON_IsNumber(v) ? v->valuedouble : def; }
static const char *mx_string(const cJSON *v, const char *def) {
  return cJSON_IsString(v) ? v->valuestring : def;
}

int getDebugOptionIntValue1(const cJSON *r, const char *a, int d) { return mx_int(getJsonSection1(r, a), d); }
int getDebugOptionIntValue2(const cJSON *r, const char *a, const char *b, int d) {
  return mx_int(getJsonSection2(r, a, b), d);
}
int getDebugOptionIntValue3(const cJSON *r, const char *a, const char *b, const char *c, int d) {
  return mx_int(getJsonSection3(r, a, b, c), d);
}
double getDebugOptionDoubleValue1(const cJSON *r, const char *a, double d) {
  return mx_double(getJsonSection1(r, a), d);
}
double getDebugOptionDoubleValue2(const cJSON *r, const char *a, const char *b, double d) {
  return mx_double(getJsonSection2(r, a, b), d);
}
double getDebugOptionDoubleValue3(const cJSON *r, const char *a, const char *b, const char *c, double d) {
  return mx_double(getJsonSection3(r, a, b, c), d);
}
const char *getDebugOptionStringValue1(const cJSON *r, const char *a, const char *d) {
  return mx_string(getJsonSection1(r, a), d);
}
const char *getDebugOptionStringValue2(const cJSON *r, const char *a, const char *b, const char *d) {
  return mx_string(getJsonSection2(r, a, b), d);
}
const char *getDebugOptionStringValue3(const cJSON *r, const char *a, const char *b, const char *c,
                                       const char *d) {
  return mx_string(getJsonSection3(r, a, b, c), d);
}
