// AMPL .nl models of the shared collections load into a context whose
// evaluation (linear parts as structure, the rest through the callback)
// equals the AMPL library's own evaluation at the start point.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <dirent.h>
#include <string>
#include <vector>

#include "apps/nl_model.h"
#include "interface/context.h"
#include "interface/evaluation.h"
#include "interface/patterns.h"

namespace {

const std::string kData = MORVEX_DATA_DIR;

std::vector<std::string> nlFiles(const std::string &dir) {
  std::vector<std::string> out;
  DIR *d = opendir(dir.c_str());
  if (d == nullptr) return out;
  while (dirent *e = readdir(d)) {
    const std::string name = e->d_name;
    if (name.size() > 3 && (name.rfind(".nl") == name.size() - 3 || name.rfind(".nl.gz") == name.size() - 6))
      out.push_back(dir + "/" + name);
  }
  closedir(d);
  std::sort(out.begin(), out.end());
  return out;
}

double relDiff(double a, double b) { return std::fabs(a - b) / std::max(1.0, std::fabs(b)); }

// The merged objective gradient and Jacobian, row by row, equal the AMPL
// library's dense gradients (models of moderate size).
void checkDerivatives(NlModel &model, MX_context_ptr kc, const std::vector<double> &x, const NlSummary &s) {
  if (static_cast<double>(s.n) * (s.m + 1) > 2e6) return;
  const size_t n = static_cast<size_t>(s.n);
  std::vector<double> objGrad(n), jac(kc->pat.jac.values.size()), ref(n), mine(n);
  if (callbackForGA(kc, x.data(), objGrad.data(), jac.data()) != 0) return;
  if (nlObjGradient(model, x.data(), ref.data()))
    for (size_t j = 0; j < n; ++j) EXPECT_LE(relDiff(objGrad[j], ref[j]), 1e-12) << "objective gradient " << j;
  const MxJacobian &J = kc->pat.jac;
  for (int i = 0; i < s.m; ++i) {
    if (!nlConGradient(model, i, x.data(), ref.data())) continue;
    std::fill(mine.begin(), mine.end(), 0.0);
    for (nnzint k = J.rowPtr[static_cast<size_t>(i)]; k < J.rowPtr[static_cast<size_t>(i) + 1]; ++k)
      mine[static_cast<size_t>(J.indexVars[static_cast<size_t>(k)])] += jac[static_cast<size_t>(k)];
    for (size_t j = 0; j < n; ++j) ASSERT_LE(relDiff(mine[j], ref[j]), 1e-12) << "row " << i << " col " << j;
  }
}

// Evaluates one model both ways. A file the AMPL library cannot read (the
// collections hold a truncated one) must be refused with a clear message.
void checkModel(const std::string &path, int &checked, int &unreadable) {
  std::string error;
  NlModelPtr model = nlRead(path, error);
  if (!model) {
    EXPECT_EQ(error, "ERROR: could not read the model in '" + path + "'.\n");
    ++unreadable;
    return;
  }
  const NlSummary s = nlSummary(*model);
  MX_context_ptr kc = nullptr;
  ASSERT_EQ(MX_new(&kc), 0);
  kc->opt.outlev = 0;
  ASSERT_EQ(nlLoad(*model, kc), 0);
  ASSERT_EQ(mxMergeStructure(kc), 0);
  mxEvalStartSolve(kc);
  const std::vector<double> x = nlStartPoint(*model);
  std::vector<double> c(static_cast<size_t>(s.m) + 1), cRef(static_cast<size_t>(s.m) + 1);
  double obj = 0.0, objRef = 0.0;
  const bool refOk = nlEvaluate(*model, x.data(), &objRef, cRef.data());
  const int rc = callbackForFC(kc, 1, x.data(), &obj, c.data(), nullptr, nullptr);
  if (refOk) {
    ASSERT_EQ(rc, 0);
    EXPECT_LE(relDiff(obj, objRef), 1e-12) << obj << " vs " << objRef;
    for (int i = 0; i < s.m; ++i) EXPECT_LE(relDiff(c[i], cRef[i]), 1e-12) << "c[" << i << "]";
    checkDerivatives(*model, kc, x, s);
  } else {
    EXPECT_EQ(rc, MX_RC_EVAL_ERR);
  }
  EXPECT_EQ(MX_free(&kc), 0);
  ++checked;
}

TEST(NlCollections, ModelsEvaluateAsTheAmplLibraryDoes) {
  const char *folders[] = {"nl-cute-pyomo-ampl", "nl-coconut-lib2", "nl-couenne-tests", "nl-bonmin-tests",
                           "minlp-scip-check"};
  int checked = 0, unreadable = 0;
  for (const char *folder : folders) {
    for (const std::string &path : nlFiles(kData + "/" + folder)) {
      SCOPED_TRACE(path);
      checkModel(path, checked, unreadable);
    }
  }
  if (checked + unreadable == 0) GTEST_SKIP() << "no .nl collections under " << kData << "; skipping";
  std::printf(".nl models checked: %d, refused as unreadable: %d\n", checked, unreadable);
  EXPECT_LE(unreadable, 1);
}

}  // namespace
