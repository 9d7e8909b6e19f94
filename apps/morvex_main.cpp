// The morvex command-line tool: solves a model file (.nl, .mps, .mps.gz)
// with options given as name=value words, or runs as an AMPL solver
// (`morvex stub -AMPL`), reading stub.nl and writing stub.sol.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include <unistd.h>

#include "apps/nl_model.h"
#include "apps/tool_support.h"
#include "morvex.h"

namespace {

void printUsage() {
  std::printf(
      "Usage: morvex MODEL [name=value ...] [option_file=FILE]\n"
      "       morvex STUB -AMPL          (AMPL solver mode: reads STUB.nl, writes STUB.sol)\n"
      "       morvex --help              (this text and the list of options)\n"
      "MODEL is an AMPL .nl file (text or binary, possibly .gz) or an MPS file (.mps, .mps.gz).\n"
      "In AMPL mode, options also come from the environment variable morvex_options.\n\n");
}

bool hasSuffix(const std::string &s, const char *suffix) {
  const size_t n = std::strlen(suffix);
  return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

int run(int argc, char **argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    printUsage();
    if (argc < 2) return 1;
    toolPrintResultMap();
    return toolListOptions();
  }
  ToolRequest req;
  req.model = argv[1];
  for (int k = 2; k < argc; ++k) {
    if (std::strcmp(argv[k], "-AMPL") == 0)
      req.ampl = true;
    else
      req.optionWords.push_back(argv[k]);
  }
  if (req.ampl) {
    if (!hasSuffix(req.model, ".nl")) req.model += ".nl";
    const char *env = std::getenv("morvex_options");
    if (env != nullptr) req.optionWords = toolSplitWords(env, req.optionWords);
  }
  return toolSolve(req);
}

}  // namespace

int main(int argc, char **argv) { return run(argc, argv); }
