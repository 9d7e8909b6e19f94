// Writes every option to a parameter file that reads back to the same
// values, grouped by family, each with its description as a comment.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "driver/output.h"
#include "driver/print.h"
#include "interface/context.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

constexpr int kLineWidth = 79;

// Families in the order of the file; a row goes to the first family among
// its tags, rows without one to the last group.
const int kGroupOrder[] = {MX_TAG_GENERAL,   MX_TAG_DERIVATIVES, MX_TAG_TERMINATION,
                           MX_TAG_BARRIER,   MX_TAG_ACTIVE_SET,  MX_TAG_PRESOLVE,
                           MX_TAG_MIP,       MX_TAG_MULTISTART,  MX_TAG_MULTIALG,
                           MX_TAG_TUNER,     MX_TAG_PARALLELISM, MX_TAG_OUTPUT,
                           MX_TAG_DEPRECATED};

int mxGroupOf(const MxParamSpec &row) {
  for (int tag : kGroupOrder)
    if (row.tags & tag) return tag;
  return 0;
}

// "# text" lines, broken at blanks so that no line is wider than the page.
void mxWriteWrapped(std::FILE *f, const char *text) {
  const int width = kLineWidth - 2;
  while (*text != '\0') {
    int len = static_cast<int>(std::strlen(text));
    if (len > width) {
      int cut = width;
      while (cut > 0 && text[cut] != ' ') --cut;
      len = cut > 0 ? cut : width;
    }
    std::fprintf(f, "# %.*s\n", len, text);
    text += len;
    while (*text == ' ') ++text;
  }
}

void mxWriteValues(std::FILE *f, const MxParamSpec &row) {
  for (int i = 0; i < row.numValues; ++i) {
    if (row.values[i].internal) continue;
    char value[16];
    std::snprintf(value, sizeof value, "%d", row.values[i].value);
    std::fprintf(f, "#   %-4s %s: %s\n", value, row.values[i].name, row.values[i].doc);
  }
}

// The shortest text that reads back to the same double.
void mxWriteDouble(std::FILE *f, const char *name, double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%g", value);
  if (std::strtod(text, nullptr) != value) std::snprintf(text, sizeof text, "%.17g", value);
  std::fprintf(f, "%-24s  %s\n", name, text);
}

void mxWriteRow(MXL_context *ctx, std::FILE *f, const MxParamSpec &row) {
  std::fprintf(f, "\n");
  mxWriteWrapped(f, (row.tags & MX_TAG_INTERNAL) ? "Internal parameter" : row.description);
  if (row.type == MX_PARAMTYPE_ENUM) mxWriteValues(f, row);
  switch (row.type) {
    case MX_PARAMTYPE_INTEGER:
    case MX_PARAMTYPE_ENUM:
      std::fprintf(f, "%-24s  %d\n", row.name, mxIntSlot(ctx->opt, row));
      break;
    case MX_PARAMTYPE_FLOAT:
      mxWriteDouble(f, row.name, mxDblSlot(ctx->opt, row));
      break;
    default: {
      const std::string &value = mxStrSlot(ctx->opt, row);
      if (value.empty())
        std::fprintf(f, "# %-24s  .\n", row.name);
      else
        std::fprintf(f, "%-24s  %s\n", row.name, value.c_str());
    }
  }
}

void mxWriteGroup(MXL_context *ctx, std::FILE *f, int group) {
  const char *title = group != 0 ? getKOptTagStr(group) : "Other";
  std::fprintf(f, "\n# ----- %s options -----\n", title);
  const MxParamSpec *rows = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i)
    if (mxGroupOf(rows[i]) == group) mxWriteRow(ctx, f, rows[i]);
}

}  // namespace

int mxSaveParamFile(MXL_context *ctx, const char *filename) {
  MxFile file(std::fopen(filename, "w"));
  if (!file) {
    mxl_printf(ctx, "WARNING: Morvex could not open file '%s' for output.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  std::FILE *f = file.get();
  std::fprintf(f, "# Morvex %s option file\n", MORVEX_VERSION_TEXT);
  std::fprintf(f, "# One option per line: name and value; '#' starts a comment.\n");
  for (int group : kGroupOrder) mxWriteGroup(ctx, f, group);
  mxWriteGroup(ctx, f, 0);
  if (std::fflush(f) != 0 || std::ferror(f) != 0) {
    mxl_printf(ctx, "WARNING: Morvex could not open file '%s' for output.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  return 0;
}
