// Writes a JSON report of a small model to the file named by argv[1], so
// that an outside parser can check it.
#include <cjson/cJSON.h>

#include "driver/debug_options.h"
#include "driver/report.h"
#include "interface/context.h"
#include "morvex.h"

int main(int argc, char **argv) {
  if (argc != 2) return 2;
  MX_context_ptr kc = nullptr;
  if (MX_new(&kc) != 0 || MX_add_vars(kc, 2, nullptr) != 0 || MX_add_cons(kc, 1, nullptr) != 0)
    return 1;
  const char *names[] = {"flow \"in\"", "level\\1"};  // text that JSON must escape
  int idx[] = {0, 1};
  MX_set_var_lobnd(kc, 0, -1.0);
  MX_set_var_names(kc, 2, idx, const_cast<char **>(names));
  MX_set_char_param(kc, MX_PARAM_OUT_JSONNAME, argv[1]);
  MxJson root(cJSON_CreateObject());
  const MxProblemCounts counts = mxCountProblem(kc);
  printJSONapplicationModelInfo(root.get(), counts);
  printJSONpresolvedModelInfo(root.get(), counts);
  MxSolveStats stats;
  stats.objective = 1e308 * 10;  // not finite: must still give valid JSON
  const int rc = mxWriteJSON(kc, root.get(), 0, counts, stats, MxPresolveCounts());
  MX_free(&kc);
  return rc == 0 ? 0 : 1;
}
