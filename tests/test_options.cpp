// The option table through the exported calls: lookups, setters, the frame
// rules of option calls, listings and the JSON description.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "interface/context.h"
#include "morvex.h"
#include "options/options.h"
#include "scratch_context.h"

namespace {

int capturePuts(const char *text, void *user) {
  static_cast<std::string *>(user)->append(text);
  return static_cast<int>(std::strlen(text));
}

class Options : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(MX_new(&mx), 0);
    mx->putsCallback = capturePuts;
    mx->userParams = &out;
  }
  void TearDown() override { MX_free(&mx); }

  std::string name(int id) {
    char buf[128];
    EXPECT_EQ(MX_get_param_name(mx, id, buf, sizeof buf), 0);
    return buf;
  }
  // Listed values of an enum option, read back from their docs.
  std::vector<int> listedValues(int id) {
    int count = -1;
    EXPECT_EQ(MX_get_num_param_values(mx, id, &count), 0);
    std::vector<int> values;
    for (int i = 0; i < count; ++i) {
      char doc[512];
      EXPECT_EQ(MX_get_param_value_doc_from_index(mx, id, i, doc, sizeof doc), 0);
      values.push_back(std::atoi(doc));
    }
    return values;
  }

  MX_context_ptr mx = nullptr;
  std::string out;
};

TEST_F(Options, EveryIndexResolvesToOneRowAndBack) {
  std::set<int> ids;
  std::string previous;
  for (int index = 0; index < MX_NUM_PARAM_SPECS; ++index) {
    int id = 0, back = 0;
    ASSERT_EQ(MX_get_param_id_from_index(mx, index, &id), 0);
    EXPECT_TRUE(ids.insert(id).second) << id;
    const std::string nm = name(id);
    ASSERT_EQ(MX_get_param_id(mx, nm.c_str(), &back), 0) << nm;
    EXPECT_EQ(back, id);
    // Byte order, as the binary search needs it.
    EXPECT_LT(std::strcmp(previous.c_str(), nm.c_str()), 0) << previous << " / " << nm;
    previous = nm;
  }
  EXPECT_EQ(out, "");  // no lookup of a current name warns
  int id = 5;
  EXPECT_EQ(MX_get_param_id_from_index(mx, MX_NUM_PARAM_SPECS, &id), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(id, -1);
  id = 5;
  EXPECT_EQ(MX_get_param_id_from_index(mx, -1, &id), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(id, -1);
  EXPECT_TRUE(assertOptionDefinitionConsistency());
}

TEST_F(Options, OldIdsAndNames) {
  int before = 0, value = 0;
  ASSERT_EQ(MX_get_int_param(mx, MX_PARAM_HONORBNDS, &before), 0);
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_SHIFTINIT, 1), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(out,
            "WARNING:  Option id '1018' deprecated, please use 'MX_PARAM_HONORBNDS' (value 1002).\n"
            "MX_set_int_param() Unknown parameter 1018\n");
  ASSERT_EQ(MX_get_int_param(mx, MX_PARAM_HONORBNDS, &value), 0);
  EXPECT_EQ(value, before);

  // A kept old id reaches the new option.
  out.clear();
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_PAR_MSNUMTHREADS, 3), 0);
  EXPECT_NE(out.find("please use 'MX_PARAM_MS_NUMTHREADS' (value 1137)"), std::string::npos);
  ASSERT_EQ(MX_get_int_param(mx, MX_PARAM_MS_NUMTHREADS, &value), 0);
  EXPECT_EQ(value, 3);

  // Old names match in any case; current names only exactly.
  out.clear();
  EXPECT_EQ(MX_set_param_by_name(mx, "ALG", 2.0), 0);
  EXPECT_EQ(out, "WARNING:  Option 'ALG' deprecated, please use 'algorithm'.\n");
  EXPECT_EQ(mx->opt.algorithm, 2);
  int id = 0;
  EXPECT_EQ(MX_get_param_id(mx, "Algorithm", &id), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_get_param_id(mx, "algorithm", &id), 0);
  EXPECT_EQ(id, MX_PARAM_ALGORITHM);
  // The row of its own wins over the old spelling of the same name.
  out.clear();
  EXPECT_EQ(MX_get_param_id(mx, "mip_heuristic", &id), 0);
  EXPECT_EQ(id, MX_PARAM_MIP_HEURISTIC);
  EXPECT_EQ(out, "");
  // A dropped old name warns and fails.
  EXPECT_EQ(MX_set_int_param_by_name(mx, "Direct", 1), MX_RC_BAD_PARAMINPUT);
  EXPECT_NE(out.find("Option 'Direct' deprecated, please use 'algorithm'"), std::string::npos);
  EXPECT_EQ(mx->opt.algorithm, 2);
}

TEST_F(Options, SettersStoreWithoutRangeTestAndKeepTypes) {
  // Out of range is stored: the check comes when a solve starts.
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_LMSIZE, 1000), 0);
  EXPECT_EQ(mx->opt.lmsize, 1000);
  EXPECT_EQ(MX_set_double_param(mx, MX_PARAM_FEASTOL, -5.0), 0);
  double d = 0;
  ASSERT_EQ(MX_get_double_param_by_name(mx, "feastol", &d), 0);
  EXPECT_EQ(d, -5.0);

  // Wrong type: refused, nothing stored, the context stays usable.
  EXPECT_EQ(MX_set_double_param(mx, MX_PARAM_LMSIZE, 3.0), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_FEASTOL, 1), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_char_param(mx, MX_PARAM_OUTLEV, "3"), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_double_param(mx, 1234, 1.0), MX_RC_BAD_PARAMINPUT);
  EXPECT_NE(out.find("MX_set_double_param() Unknown parameter 1234\n"), std::string::npos);
  EXPECT_EQ(mx->opt.lmsize, 1000);
  EXPECT_EQ(mx->fatalError, 0);
  EXPECT_EQ(MX_set_int_param_by_name(mx, "lmsize", 7), 0);
  EXPECT_EQ(mx->opt.lmsize, 7);

  // The generic by-name setter follows the row's type.
  EXPECT_EQ(MX_set_param_by_name(mx, "maxit", 12.9), 0);
  EXPECT_EQ(mx->opt.maxit, 12);
  EXPECT_EQ(MX_set_param_by_name(mx, "opttol", 1e-9), 0);
  EXPECT_EQ(mx->opt.opttol, 1e-9);
  EXPECT_EQ(MX_set_param_by_name(mx, "outname", 1.0), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_param_by_name(mx, "maxit", 1e12), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_set_param_by_name(mx, "maxit", std::nan("")), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(mx->opt.maxit, 12);

  EXPECT_EQ(MX_set_char_param_by_name(mx, "tuner_optionsfile", "tune.opt"), 0);
  EXPECT_EQ(mx->opt.tuner_optionsfile, "tune.opt");
  EXPECT_EQ(MX_set_char_param(mx, MX_PARAM_TUNER_OPTIONSFILE, nullptr), 0);
  EXPECT_EQ(mx->opt.tuner_optionsfile, "");
}

TEST_F(Options, OutputOptionsAndReportId) {
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_OUTLEV, 9), 0);
  EXPECT_EQ(mx->opt.outlev, 6);
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_OUTMODE, 5), 0);
  EXPECT_EQ(mx->opt.outmode, 2);
  EXPECT_EQ(MX_set_param_by_name(mx, "outmode", -3.0), 0);
  EXPECT_EQ(mx->opt.outmode, 0);
  EXPECT_EQ(MX_set_int_param(mx, 999, 17), 0);
  EXPECT_EQ(mx->msReportId, 17);
  int value = 0;
  EXPECT_EQ(MX_get_int_param(mx, 999, &value), 0);
  EXPECT_EQ(value, 17);
}

TEST_F(Options, FrameRefusals) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(MX_set_int_param(nullptr, MX_PARAM_OUTLEV, 1), MX_RC_BAD_KCPTR);
  int value = 0;
  EXPECT_EQ(MXL_get_int_param(nullptr, MX_PARAM_OUTLEV, &value), MX_RC_BAD_KCPTR);
  EXPECT_NE(testing::internal::GetCapturedStderr().find(
                "Fatal: MX_set_int_param() passed NULL for morvex context pointer."),
            std::string::npos);

  // During a solve the setters refuse without locking; the getters read.
  mx->solveInProgress = 1;
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_MAXIT, 5), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_set_double_param(mx, MX_PARAM_OPTTOL, 0.5), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out,
            "WARNING: Cannot call MX_set_int_param while solving.\n"
            "WARNING: Cannot call MX_set_double_param while solving.\n");
  EXPECT_EQ(MX_get_int_param(mx, MX_PARAM_MAXIT, &value), 0);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(mx->fatalError, 0);
  // A driver of child runs sets options of its solving children.
  mx->subproblemKind = 4;
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_MAXIT, 5), 0);
  mx->subproblemKind = 1;
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_MAXIT, 6), MX_RC_ILLEGAL_CALL);
  mx->solveInProgress = 0;
  EXPECT_EQ(mx->opt.maxit, 5);

  // A poisoned context refuses every call quietly.
  out.clear();
  mx->fatalError = 1;
  EXPECT_EQ(MX_set_int_param(mx, MX_PARAM_MAXIT, 7), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_int_param(mx, MX_PARAM_MAXIT, &value), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_get_param_id_from_index(mx, 0, &value), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(out, "");
  mx->fatalError = 0;
}

TEST_F(Options, DocsAndValueDocs) {
  char buf[256], full[256];
  ASSERT_EQ(MX_get_param_value_doc(mx, MX_PARAM_ALGORITHM, 2, full, sizeof full), 0);
  EXPECT_EQ(std::string(full).rfind("2 (cg): ", 0), 0u) << full;
  // Hidden values are valid but not listed.
  ASSERT_EQ(MX_get_param_value_doc(mx, MX_PARAM_ALGORITHM, -2, buf, sizeof buf), 0);
  EXPECT_EQ(std::string(buf).rfind("-2 (initpt): ", 0), 0u) << buf;
  EXPECT_EQ(listedValues(MX_PARAM_ALGORITHM), (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(MX_get_param_value_doc(mx, MX_PARAM_ALGORITHM, 42, buf, sizeof buf),
            MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_get_param_value_doc_from_index(mx, MX_PARAM_ALGORITHM, 6, buf, sizeof buf),
            MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(MX_get_param_value_doc(mx, MX_PARAM_MAXIT, 0, buf, sizeof buf),
            MX_RC_BAD_PARAMINPUT);
  int count = -1;
  ASSERT_EQ(MX_get_num_param_values(mx, MX_PARAM_MAXIT, &count), 0);
  EXPECT_EQ(count, 0);

  // Text is cut to the buffer and always terminated.
  std::memset(buf, 'x', sizeof buf);
  ASSERT_EQ(MX_get_param_value_doc(mx, MX_PARAM_ALGORITHM, 2, buf, 5), 0);
  EXPECT_EQ(std::string(buf), std::string(full, 4));
  EXPECT_EQ(buf[5], 'x');
  EXPECT_EQ(MX_get_param_name(mx, MX_PARAM_ALGORITHM, buf, 0), MX_RC_BAD_PARAMINPUT);
  ASSERT_EQ(MX_get_param_doc(mx, MX_PARAM_OUTLEV, buf, sizeof buf), 0);
  EXPECT_NE(std::string(buf), std::string(full));
  EXPECT_GT(std::strlen(buf), 10u);
}

TEST_F(Options, RunTimeDefaultOfAbsoluteFeasibilityTolerance) {
  double tol = 0;
  ASSERT_EQ(MX_get_double_param(mx, MX_PARAM_FEASTOL_ABS, &tol), 0);
  EXPECT_EQ(tol, 1e-3);
  for (int kind : {1, 5, 8, 9}) {
    MXL_context *child = mx_new_puts_subproblem(mx, nullptr, nullptr, nullptr, kind);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->opt.feastol_abs, kind == 5 ? 1e-3 : 1e-6) << kind;
    MX_free(&child);
  }
}

TEST_F(Options, ListingFormat) {
  const MxParamSpec *datacheck = getParamSpecsFromAPIId(nullptr, MX_PARAM_DATACHECK);
  printParamSpecs(mx, *datacheck, 0);
  EXPECT_EQ(out.rfind("\tMX_PARAM_DATACHECK - 1087 - datacheck:\n\t\t", 0), 0u) << out;
  EXPECT_NE(out.find("\n\t\tDefault value: yes (1) (enum)\n\t\tPossible values:\n\t\t\tno\t(0): "), std::string::npos)
      << out;
  out.clear();
  printParamSpecs(mx, *getParamSpecsFromAPIId(nullptr, MX_PARAM_FEASTOL_ABS), 0);
  EXPECT_NE(out.find("\t\ttags: Termination\n\t\tDefault value: auto (float)\n"),
            std::string::npos);
  out.clear();
  printParamSpecs(mx, *getParamSpecsFromAPIId(nullptr, MX_PARAM_BAR_MURULE), 1);
  EXPECT_NE(out.find(" - bar_murule (internal=0, offset="), std::string::npos);
  EXPECT_NE(out.find("\t\t\tqualityfc\t(7): "), std::string::npos);
  EXPECT_NE(out.find("(internal=1)\n"), std::string::npos);

  // Internal rows and hidden values only with showInternal.
  auto count = [](const std::string &text, const std::string &what) {
    size_t n = 0;
    for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
  };
  out.clear();
  printAllParamSpecs(mx, 0);
  EXPECT_EQ(out.rfind("Morvex options:\n", 0), 0u);
  EXPECT_EQ(out.find("simplex_maxit"), std::string::npos);
  EXPECT_EQ(out.find("qualityfc"), std::string::npos);
  const size_t shown = count(out, "\tMX_PARAM_");
  out.clear();
  printAllParamSpecs(mx, 1);
  EXPECT_EQ(count(out, "\tMX_PARAM_"), static_cast<size_t>(MX_NUM_PARAM_SPECS));
  EXPECT_EQ(shown, MX_NUM_PARAM_SPECS - 9u);  // the internal family
}

TEST_F(Options, JsonDescriptionParsesWithOneEntryPerRow) {
  const std::string path = testing::TempDir() + "morvex_options.json";
  ASSERT_EQ(MX_write_param_desc_file(mx, path.c_str()), 0);
  EXPECT_EQ(out, "Writing options description JSON to " + path + "\n");
  cJSON *root = cJSON_Parse(slurp(path).c_str());
  ASSERT_NE(root, nullptr);
  ASSERT_EQ(cJSON_GetArraySize(root), MX_NUM_PARAM_SPECS);
  const std::set<std::string> types = {"integer", "float", "string", "enum"};
  const cJSON *entry = nullptr;
  cJSON_ArrayForEach(entry, root) {
    const char *nm = cJSON_GetStringValue(cJSON_GetObjectItem(entry, "name"));
    ASSERT_NE(nm, nullptr);
    int id = 0;
    ASSERT_EQ(MX_get_param_id(mx, nm, &id), 0);
    EXPECT_EQ(cJSON_GetObjectItem(entry, "apiId")->valueint, id);
    EXPECT_STREQ(cJSON_GetStringValue(cJSON_GetObjectItem(entry, "apiName")), getParamSpecsFromAPIId(nullptr, id)->apiName);
    EXPECT_NE(cJSON_GetStringValue(cJSON_GetObjectItem(entry, "description")), nullptr);
    EXPECT_TRUE(cJSON_IsArray(cJSON_GetObjectItem(entry, "tags")));
    const std::string type = cJSON_GetStringValue(cJSON_GetObjectItem(entry, "type"));
    EXPECT_EQ(types.count(type), 1u) << nm;
    const cJSON *def = cJSON_GetObjectItem(entry, "defaultValue");
    ASSERT_NE(def, nullptr) << nm;
    if (const cJSON *lo = cJSON_GetObjectItem(entry, "minValue")) EXPECT_LE(lo->valuedouble, def->valuedouble) << nm;
    if (const cJSON *hi = cJSON_GetObjectItem(entry, "maxValue")) EXPECT_GE(hi->valuedouble, def->valuedouble) << nm;
    if (type != "enum") continue;
    const char *item = cJSON_GetStringValue(cJSON_GetObjectItem(entry, "defaultItem"));
    bool found = false;
    const cJSON *value = nullptr;
    cJSON_ArrayForEach(value, cJSON_GetObjectItem(entry, "items")) {
      if (cJSON_GetObjectItem(value, "value")->valueint == def->valueint)
        found = item != nullptr && std::string(item) == cJSON_GetStringValue(cJSON_GetObjectItem(value, "name"));
    }
    EXPECT_TRUE(found) << nm;
  }
  cJSON_Delete(root);
  std::remove(path.c_str());
  EXPECT_EQ(MX_write_param_desc_file(mx, "/nonexistent-dir/x.json"), MX_RC_OPEN_FILE_ERR);
}

// Every id define of the public header belongs to a row with that
// identifier, or is an old id that the lookup maps.
TEST_F(Options, HeaderIdsMatchTheTable) {
  std::ifstream in(MORVEX_SOURCE_DIR "/include/morvex.h");
  ASSERT_TRUE(in.good());
  const std::regex define("#define (MX_PARAM_[A-Z0-9_]+) +(-?[0-9]+)");
  std::string line;
  int rows = 0;
  for (std::smatch m; std::getline(in, line);) {
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

}  // namespace
