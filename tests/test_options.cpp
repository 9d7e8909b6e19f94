// The option table through the exported calls: lookups, setters, the frame
// rules of option calls, listings and the JSON description.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "eval_fixture.h"
#include "interface/context.h"
#include "options/options.h"
#include "scratch_context.h"

namespace {

using Options = EvalModel;

// Every index resolves to one row and back, in byte order; every id define
// of the public header belongs to a row with that identifier, or is an old
// id that the lookup maps.
TEST_F(Options, IndexesNamesAndHeaderIdsAgreeWithTheTable) {
  std::set<int> ids;
  std::string previous;
  for (int index = 0; index < MX_NUM_PARAM_SPECS; ++index) {
    int id = 0, back = 0;
    char name[128];
    ASSERT_EQ(MX_get_param_id_from_index(kc, index, &id), 0);
    EXPECT_TRUE(ids.insert(id).second) << id;
    ASSERT_EQ(MX_get_param_name(kc, id, name, sizeof name), 0);
    ASSERT_EQ(MX_get_param_id(kc, name, &back), 0) << name;
    EXPECT_EQ(back, id);
    // Byte order, as the binary search needs it.
    EXPECT_LT(std::strcmp(previous.c_str(), name), 0) << previous << " / " << name;
    previous = name;
  }
  EXPECT_EQ(out->text, "");  // no lookup of a current name warns
  for (int index : {MX_NUM_PARAM_SPECS, -1}) {
    int id = 5;
    EXPECT_EQ(MX_get_param_id_from_index(kc, index, &id), MX_RC_BAD_PARAMINPUT);
    EXPECT_EQ(id, -1);
  }
  EXPECT_TRUE(assertOptionDefinitionConsistency());

  std::ifstream in(MORVEX_SOURCE_DIR "/include/morvex.h");
  ASSERT_TRUE(in.good());
  const std::regex define("#define (MX_PARAM_[A-Z0-9_]+) +(-?[0-9]+)");
  int rows = 0;
  std::smatch m;
  for (std::string line; std::getline(in, line);) {
    if (!std::regex_search(line, m, define)) continue;
    const int id = std::stoi(m[2]);
    const MxParamSpec *row = getParamSpecsFromAPIId(nullptr, id);
    if (row != nullptr && row->apiId == id) {
      EXPECT_EQ(m[1].str(), row->apiName);
      ++rows;
    } else {
      EXPECT_TRUE(id == MX_PARAM_SHIFTINIT || row != nullptr) << m[1];
    }
  }
  EXPECT_EQ(rows, MX_NUM_PARAM_SPECS);
}

TEST_F(Options, OldIdsAndNames) {
  int before = 0, value = 0;
  ASSERT_EQ(MX_get_int_param(kc, MX_PARAM_HONORBNDS, &before), 0);
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_SHIFTINIT, 1), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(out->take(),
            "WARNING:  Option id '1018' deprecated, please use 'MX_PARAM_HONORBNDS' (value 1002).\n"
            "MX_set_int_param() Unknown parameter 1018\n");
  ASSERT_EQ(MX_get_int_param(kc, MX_PARAM_HONORBNDS, &value), 0);
  EXPECT_EQ(value, before);

  // A kept old id reaches the new option.
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_PAR_MSNUMTHREADS, 3), 0);
  EXPECT_NE(out->take().find("please use 'MX_PARAM_MS_NUMTHREADS' (value 1137)"), std::string::npos);
  ASSERT_EQ(MX_get_int_param(kc, MX_PARAM_MS_NUMTHREADS, &value), 0);
  EXPECT_EQ(value, 3);

  // Old names match in any case; current names only exactly.
  EXPECT_EQ(MX_set_param_by_name(kc, "ALG", 2.0), 0);
  EXPECT_EQ(out->take(), "WARNING:  Option 'ALG' deprecated, please use 'algorithm'.\n");
  EXPECT_EQ(kc->opt.algorithm, 2);
  int id = 0;
  EXPECT_EQ(MX_get_param_id(kc, "Algorithm", &id), MX_RC_BAD_PARAMINPUT);
  // The row of its own wins over the old spelling of the same name.
  out->take();
  EXPECT_EQ(MX_get_param_id(kc, "mip_heuristic", &id), 0);
  EXPECT_EQ(id, MX_PARAM_MIP_HEURISTIC);
  EXPECT_EQ(out->text, "");
  // A dropped old name warns and fails.
  EXPECT_EQ(MX_set_int_param_by_name(kc, "Direct", 1), MX_RC_BAD_PARAMINPUT);
  EXPECT_NE(out->text.find("Option 'Direct' deprecated, please use 'algorithm'"), std::string::npos);
  EXPECT_EQ(kc->opt.algorithm, 2);
}

TEST_F(Options, SettersStoreWithoutRangeTestAndKeepTypes) {
  // Out of range is stored: the check comes when a solve starts.
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_LMSIZE, 1000), 0);
  EXPECT_EQ(MX_set_double_param(kc, MX_PARAM_FEASTOL, -5.0), 0);
  double d = 0;
  ASSERT_EQ(MX_get_double_param_by_name(kc, "feastol", &d), 0);
  EXPECT_EQ(d, -5.0);

  // Wrong type: refused, nothing stored, the context stays usable.
  EXPECT_EQ(MX_set_double_param(kc, MX_PARAM_LMSIZE, 3.0), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_FEASTOL, 1), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_char_param(kc, MX_PARAM_OUTLEV, "3"), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_double_param(kc, 1234, 1.0), MX_RC_BAD_PARAMINPUT);
  EXPECT_NE(out->text.find("MX_set_double_param() Unknown parameter 1234\n"), std::string::npos);
  EXPECT_EQ(kc->opt.lmsize, 1000);
  EXPECT_EQ(kc->fatalError, 0);

  // The generic by-name setter follows the row's type.
  EXPECT_EQ(MX_set_param_by_name(kc, "maxit", 12.9), 0);
  EXPECT_EQ(kc->opt.maxit, 12);
  EXPECT_EQ(MX_set_param_by_name(kc, "opttol", 1e-9), 0);
  EXPECT_EQ(kc->opt.opttol, 1e-9);
  EXPECT_EQ(MX_set_param_by_name(kc, "outname", 1.0), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_param_by_name(kc, "maxit", 1e12), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_param_by_name(kc, "maxit", std::nan("")), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(kc->opt.maxit, 12);

  EXPECT_EQ(MX_set_char_param_by_name(kc, "tuner_optionsfile", "tune.opt"), 0);
  EXPECT_EQ(kc->opt.tuner_optionsfile, "tune.opt");
  EXPECT_EQ(MX_set_char_param(kc, MX_PARAM_TUNER_OPTIONSFILE, nullptr), 0);
  EXPECT_EQ(kc->opt.tuner_optionsfile, "");

  // Output levels and modes are clamped into range at once; id 999 is the
  // report id of a multi-start child.
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_OUTLEV, 9), 0);
  EXPECT_EQ(MX_set_param_by_name(kc, "outmode", -3.0), 0);
  EXPECT_EQ(kc->opt.outlev, 6);
  EXPECT_EQ(kc->opt.outmode, 0);
  EXPECT_EQ(MX_set_int_param(kc, 999, 17), 0);
  int value = 0;
  EXPECT_EQ(MX_get_int_param(kc, 999, &value), 0);
  EXPECT_EQ(value, 17);
}

TEST_F(Options, CallsDuringASolveOrOnAPoisonedContext) {
  // During a solve the setters refuse without locking; the getters read.
  kc->solveInProgress = 1;
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_MAXIT, 5), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_set_double_param(kc, MX_PARAM_OPTTOL, 0.5), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->take(),
            "WARNING: Cannot call MX_set_int_param while solving.\n"
            "WARNING: Cannot call MX_set_double_param while solving.\n");
  int value = 1;
  EXPECT_EQ(MX_get_int_param(kc, MX_PARAM_MAXIT, &value), 0);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(kc->fatalError, 0);
  // A driver of child runs sets options of its solving children.
  kc->subproblemKind = 4;
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_MAXIT, 5), 0);
  kc->subproblemKind = 1;
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_MAXIT, 6), MX_RC_ILLEGAL_CALL);
  kc->solveInProgress = 0;
  EXPECT_EQ(kc->opt.maxit, 5);

  // A poisoned context refuses every call quietly.
  out->take();
  kc->fatalError = 1;
  EXPECT_EQ(MX_set_int_param(kc, MX_PARAM_MAXIT, 7), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_int_param(kc, MX_PARAM_MAXIT, &value), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_param_id_from_index(kc, 0, &value), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out->text, "");
  kc->fatalError = 0;
}

// Hidden values and internal rows are valid, but are listed only with
// showInternal.
TEST_F(Options, DocsAndListingsHideInternalValuesAndRows) {
  char buf[256], full[256];
  ASSERT_EQ(MX_get_param_value_doc(kc, MX_PARAM_ALGORITHM, 2, full, sizeof full), 0);
  EXPECT_EQ(std::string(full).rfind("2 (cg): ", 0), 0u) << full;
  ASSERT_EQ(MX_get_param_value_doc(kc, MX_PARAM_ALGORITHM, -2, buf, sizeof buf), 0);
  EXPECT_EQ(std::string(buf).rfind("-2 (initpt): ", 0), 0u) << buf;
  int count = -1;
  ASSERT_EQ(MX_get_num_param_values(kc, MX_PARAM_ALGORITHM, &count), 0);
  for (int i = 0; i < count; ++i) {
    ASSERT_EQ(MX_get_param_value_doc_from_index(kc, MX_PARAM_ALGORITHM, i, buf, sizeof buf), 0);
    EXPECT_EQ(std::atoi(buf), i);
  }
  EXPECT_EQ(MX_get_param_value_doc(kc, MX_PARAM_ALGORITHM, 42, buf, sizeof buf), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_get_param_value_doc_from_index(kc, MX_PARAM_ALGORITHM, count, buf, sizeof buf), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_get_param_value_doc(kc, MX_PARAM_MAXIT, 0, buf, sizeof buf), MX_RC_BAD_PARAMINPUT);
  ASSERT_EQ(MX_get_num_param_values(kc, MX_PARAM_MAXIT, &count), 0);
  EXPECT_EQ(count, 0);

  // Text is cut to the buffer and always terminated.
  std::memset(buf, 'x', sizeof buf);
  ASSERT_EQ(MX_get_param_value_doc(kc, MX_PARAM_ALGORITHM, 2, buf, 5), 0);
  EXPECT_EQ(std::string(buf), std::string(full, 4));
  EXPECT_EQ(buf[5], 'x');
  EXPECT_EQ(MX_get_param_name(kc, MX_PARAM_ALGORITHM, buf, 0), MX_RC_BAD_PARAMINPUT);

  auto occurrences = [](const std::string &text, const std::string &what) {
    size_t n = 0;
    for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
  };
  printAllParamSpecs(kc, 0);
  std::string text = out->take();
  EXPECT_EQ(text.find("simplex_maxit"), std::string::npos);
  EXPECT_EQ(text.find("qualityfc"), std::string::npos);
  EXPECT_NE(text.find("\n\t\tDefault value: yes (1) (enum)\n\t\tPossible values:\n\t\t\tno\t(0): "),
            std::string::npos);
  EXPECT_EQ(occurrences(text, "\tMX_PARAM_"), MX_NUM_PARAM_SPECS - 9u);  // the internal family
  printAllParamSpecs(kc, 1);
  text = out->take();
  EXPECT_EQ(occurrences(text, "\tMX_PARAM_"), static_cast<size_t>(MX_NUM_PARAM_SPECS));
  EXPECT_NE(text.find("\t\t\tqualityfc\t(7): "), std::string::npos);
}

TEST_F(Options, JsonDescriptionParsesWithOneEntryPerRow) {
  const std::string path = testing::TempDir() + "morvex_options.json";
  ASSERT_EQ(MX_write_param_desc_file(kc, path.c_str()), 0);
  EXPECT_EQ(out->text, "Writing options description JSON to " + path + "\n");
  cJSON *root = cJSON_Parse(slurp(path).c_str());
  ASSERT_NE(root, nullptr);
  ASSERT_EQ(cJSON_GetArraySize(root), MX_NUM_PARAM_SPECS);
  const std::set<std::string> types = {"integer", "float", "string", "enum"};
  const cJSON *entry = nullptr;
  cJSON_ArrayForEach(entry, root) {
    auto item = [&](const char *key) { return cJSON_GetObjectItem(entry, key); };
    const char *nm = cJSON_GetStringValue(item("name"));
    ASSERT_NE(nm, nullptr);
    int id = 0;
    ASSERT_EQ(MX_get_param_id(kc, nm, &id), 0);
    EXPECT_EQ(item("apiId")->valueint, id);
    EXPECT_STREQ(cJSON_GetStringValue(item("apiName")), getParamSpecsFromAPIId(nullptr, id)->apiName);
    EXPECT_NE(cJSON_GetStringValue(item("description")), nullptr);
    EXPECT_TRUE(cJSON_IsArray(item("tags")));
    const std::string type = cJSON_GetStringValue(item("type"));
    EXPECT_EQ(types.count(type), 1u) << nm;
    const cJSON *def = item("defaultValue");
    ASSERT_NE(def, nullptr) << nm;
    if (const cJSON *lo = item("minValue")) EXPECT_LE(lo->valuedouble, def->valuedouble) << nm;
    if (const cJSON *hi = item("maxValue")) EXPECT_GE(hi->valuedouble, def->valuedouble) << nm;
    if (type != "enum") continue;
    const cJSON *value = nullptr;
    cJSON_ArrayForEach(value, item("items")) if (cJSON_GetObjectItem(value, "value")->valueint == def->valueint) break;
    ASSERT_NE(value, nullptr) << nm;
    EXPECT_STREQ(cJSON_GetStringValue(item("defaultItem")), cJSON_GetStringValue(cJSON_GetObjectItem(value, "name")));
  }
  cJSON_Delete(root);
  std::remove(path.c_str());
  EXPECT_EQ(MX_write_param_desc_file(kc, "/nonexistent-dir/x.json"), MX_RC_OPEN_FILE_ERR);
}

}  // namespace
