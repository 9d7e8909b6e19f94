#include "apps/tool_support.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <unistd.h>

#include "apps/nl_model.h"
#include "morvex.h"

namespace {

// AMPL's result classes: solved, solved with doubts, infeasible, unbounded,
// limit reached, failure.
struct ResultRange {
  int first, last;  // Morvex codes, first >= last
  int amplCode;
};
const ResultRange kResultMap[] = {
    {0, 0, 0},          {-100, -103, 100}, {-200, -205, 200}, {-300, -301, 300},
    {-400, -406, 400},  {-410, -416, 401}, {-500, -600, 500},
};

bool endsWith(const std::string &s, const char *suffix) {
  const size_t n = std::strlen(suffix);
  return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

// Options go through a parameter file, so that words accept the same
// values as files do (enum names, hexadecimal numbers).
int applyOptions(MX_context_ptr kc, const std::vector<std::string> &words) {
  char path[] = "/tmp/morvex_opts_XXXXXX";
  const int fd = mkstemp(path);
  if (fd < 0) return MX_RC_OPEN_FILE_ERR;
  close(fd);
  int rc = 0;
  {
    std::ofstream out(path);
    for (const std::string &w : words) {
      const size_t eq = w.find('=');
      if (eq == std::string::npos) {
        std::fprintf(stderr, "morvex: option '%s' is not of the form name=value\n", w.c_str());
        rc = MX_RC_BAD_PARAMINPUT;
        continue;
      }
      const std::string name = w.substr(0, eq), value = w.substr(eq + 1);
      if (name == "option_file") {
        out.close();
        const int fileRc = MX_load_param_file(kc, value.c_str());
        if (fileRc != 0) rc = fileRc;
        out.open(path, std::ios::app);
      } else {
        out << name << ' ' << value << '\n';
      }
    }
  }
  const int wordsRc = MX_load_param_file(kc, path);
  std::remove(path);
  return rc != 0 ? rc : wordsRc;
}

}  // namespace

int toolSolveResultNum(int returnCode) {
  for (const ResultRange &r : kResultMap)
    if (returnCode <= r.first && returnCode >= r.last) return r.amplCode;
  return 500;
}

std::vector<std::string> toolSplitWords(const char *text, const std::vector<std::string> &after) {
  std::vector<std::string> words;
  std::string word;
  for (const char *p = text;; ++p) {
    if (*p == '\0' || *p == ' ' || *p == '\t' || *p == '\n') {
      if (!word.empty()) words.push_back(word);
      word.clear();
      if (*p == '\0') break;
    } else {
      word += *p;
    }
  }
  words.insert(words.end(), after.begin(), after.end());
  return words;
}

void toolPrintResultMap() {
  std::printf("AMPL solve_result_num for Morvex return codes:\n");
  for (const ResultRange &r : kResultMap) {
    if (r.first == r.last)
      std::printf("  %4d          -> %d\n", r.first, r.amplCode);
    else
      std::printf("  %4d to %4d  -> %d\n", r.first, r.last, r.amplCode);
  }
  std::printf("  any other     -> 500\n\n");
}

int toolListOptions() {
  MX_context_ptr kc = nullptr;
  if (MX_new(&kc) != 0) return 1;
  std::printf("Options (name=value):\n");
  for (int index = 0;; ++index) {
    int id = 0;
    if (MX_get_param_id_from_index(kc, index, &id) != 0) break;
    char name[128], doc[1024];
    if (MX_get_param_name(kc, id, name, sizeof name) != 0) continue;
    if (MX_get_param_doc(kc, id, doc, sizeof doc) != 0) doc[0] = '\0';
    if (std::strcmp(doc, "Internal parameter") == 0) continue;
    std::printf("  %-34s %s\n", name, doc);
  }
  MX_free(&kc);
  return 0;
}

namespace {

struct LoadedModel {
  NlModelPtr nl;  // set for .nl models
  int n = 0, m = 0;
};

int loadModel(MX_context_ptr kc, const std::string &path, LoadedModel &out) {
  if (endsWith(path, ".mps") || endsWith(path, ".mps.gz")) {
    const int rc = MX_load_mps_file(kc, path.c_str());
    if (rc != 0) std::fprintf(stderr, "morvex: could not load '%s' (code %d)\n", path.c_str(), rc);
    return rc == 0 ? 0 : 1;
  }
  std::string error;
  out.nl = nlRead(path, error);
  if (!out.nl) {
    std::fprintf(stderr, "%s", error.c_str());
    return 1;
  }
  const int rc = nlLoad(*out.nl, kc);
  if (rc != 0) std::fprintf(stderr, "morvex: could not load '%s' (code %d)\n", path.c_str(), rc);
  return rc == 0 ? 0 : 1;
}

void printSummary(MX_context_ptr kc, const std::string &model, int code, double seconds) {
  int status = 0, iters = 0, fevals = 0;
  double obj = 0.0, feas = 0.0;
  MX_get_solution(kc, &status, &obj, nullptr, nullptr);
  MX_get_number_iters(kc, &iters);
  MX_get_number_FC_evals(kc, &fevals);
  MX_get_abs_feas_error(kc, &feas);
  std::printf("morvex: %s status=%d objective=%.12e feaserror=%.3e iterations=%d evaluations=%d time=%.6f\n",
              model.c_str(), code, obj, feas, iters, fevals, seconds);
}

void writeAmplSolution(MX_context_ptr kc, LoadedModel &loaded, int code) {
  int n = 0, m = 0, status = 0;
  double obj = 0.0;
  MX_get_number_vars(kc, &n);
  MX_get_number_cons(kc, &m);
  std::vector<double> x(static_cast<size_t>(n) + 1), lambda(static_cast<size_t>(n + m) + 1);
  MX_get_solution(kc, &status, &obj, x.data(), lambda.data());
  char message[256];
  std::snprintf(message, sizeof message, "Morvex: return code %d, objective %.12g", code, obj);
  nlWriteSolution(*loaded.nl, message, x.data(), lambda.data(), toolSolveResultNum(code));
}

}  // namespace

int toolSolve(const ToolRequest &request) {
  MX_context_ptr kc = nullptr;
  if (MX_new(&kc) != 0) return 1;
  LoadedModel loaded;
  if (loadModel(kc, request.model, loaded) != 0) {
    MX_free(&kc);
    return 1;
  }
  if (!request.optionWords.empty() && applyOptions(kc, request.optionWords) != 0)
    std::fprintf(stderr, "morvex: some options were not applied\n");
  const auto start = std::chrono::steady_clock::now();
  const int code = MX_solve(kc);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  printSummary(kc, request.model, code, seconds);
  if (request.ampl && loaded.nl) writeAmplSolution(kc, loaded, code);
  MX_free(&kc);
  return code == 0 ? 0 : 2;
}
