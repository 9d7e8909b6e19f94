// The debug options file named by `debugoptionsname`: a JSON document read at
// each solve. Lookups take up to three nested keys and fall back to the
// given default when the file or any key on the path is missing.
#pragma once

#include <memory>
#include <string>

struct cJSON;
struct MXL_context;

struct MxJsonDeleter {
  void operator()(cJSON *doc) const;
};
using MxJson = std::unique_ptr<cJSON, MxJsonDeleter>;

// Reads and parses the file; null (after a warning) when unreadable.
MxJson mxReadDebugOptions(MXL_context *ctx, const std::string &path);

const cJSON *getJsonSection1(const cJSON *root, const char *k1);
const cJSON *getJsonSection2(const cJSON *root, const char *k1, const char *k2);
const cJSON *getJsonSection3(const cJSON *root, const char *k1, const char *k2, const char *k3);
int getDebugOptionIntValue1(const cJSON *root, const char *k1, int def);
int getDebugOptionIntValue2(const cJSON *root, const char *k1, const char *k2, int def);
int getDebugOptionIntValue3(const cJSON *root, const char *k1, const char *k2, const char *k3, int def);
double getDebugOptionDoubleValue1(const cJSON *root, const char *k1, double def);
double getDebugOptionDoubleValue2(const cJSON *root, const char *k1, const char *k2, double def);
double getDebugOptionDoubleValue3(const cJSON *root, const char *k1, const char *k2, const char *k3, double def);
const char *getDebugOptionStringValue1(const cJSON *root, const char *k1, const char *def);
const char *getDebugOptionStringValue2(const cJSON *root, const char *k1, const char *k2, const char *def);
const char *getDebugOptionStringValue3(const cJSON *root, const char *k1, const char *k2, const char *k3,
                                       const char *def);
