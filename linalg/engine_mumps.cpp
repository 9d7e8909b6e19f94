// Sparse symmetric indefinite engine on the sequential MUMPS library
// (LDL^T, SYM=2). Inertia comes from INFOG(12), rank deficiency from null
// pivot detection (ICNTL(24)). The library here is built without METIS, so
// a METIS ordering is computed by us and handed over as a user permutation.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>

#include "linalg/blas_serial.h"
#include "linalg/engine.h"

#include <dmumps_c.h>

namespace {
constexpr int kJobInit = -1, kJobEnd = -2, kJobAnalyse = 1, kJobFactor = 2, kJobSolve = 3;
constexpr int kUseCommWorld = -987654;
// MUMPS orderings (ICNTL(7)).
constexpr int kOrdAmd = 0, kOrdUser = 1;
// Systems from this dimension on are ordered by nested dissection by default.
constexpr int kAutoMetisSize = 10000;
// Calls that may fail for lack of workspace are retried with a larger one.
constexpr int kMaxWorkspaceRetries = 6;
}  // namespace

// The library keeps module-level state (its load-balancing module among
// others), so two instances in different threads corrupt each other. Every
// call into it is serialised by one process-wide lock; other threads keep
// working on their own systems meanwhile.
static std::mutex &mumpsLock() {
  static std::mutex m;
  return m;
}

// The library is mapped on the first sparse system: with the Fortran
// runtime and the orderings it pulls in, it took a few milliseconds of
// every start-up, more than a small model's whole solve.
using DmumpsEntry = void (*)(DMUMPS_STRUC_C *);
constexpr int kNoLibrary = -1000;

static DmumpsEntry mumpsEntry() {
  static const DmumpsEntry entry = [] {
    void *h = dlopen(MORVEX_MUMPS_SONAME, RTLD_NOW | RTLD_LOCAL);
    return h != nullptr ? reinterpret_cast<DmumpsEntry>(dlsym(h, "dmumps_c")) : nullptr;
  }();
  return entry;
}

static void mumpsLockedCall(DMUMPS_STRUC_C &id, int job) {
  const DmumpsEntry entry = mumpsEntry();
  if (entry == nullptr) {
    id.infog[0] = id.info[0] = kNoLibrary;
    return;
  }
  std::lock_guard<std::mutex> g(mumpsLock());
  id.job = job;
  entry(&id);
}

struct LinMumpsState {
  DMUMPS_STRUC_C id;
  bool live = false;
  std::vector<int> irn, jcn, permIn;
  std::vector<double> a;
  // The factor's workspace, kept from one factorization to the next. Left
  // to the library, it is taken from the system and zeroed afresh each
  // time, and on a system of a few thousand rows those fresh pages cost a
  // quarter of the factorization. It is never zeroed here either: the
  // library writes before it reads, and pages it does not reach are never
  // touched (a solve of one iteration spent a third of its time filling it).
  std::unique_ptr<double[]> wk;
  size_t wkSize = 0;
  void growWorkspace(size_t n) {
    if (n <= wkSize) return;
    wk.reset(new double[n]);  // default-initialised: no fill
    wkSize = n;
  }
  ~LinMumpsState() {
    if (live) mumpsLockedCall(id, kJobEnd);
  }
};

static void mumpsCall(LinMumpsState &m, int job) { mumpsLockedCall(m.id, job); }

// MUMPS arrays are 1-based: ICNTL(k) is icntl[k-1].
#define ICNTL(m, k) (m).id.icntl[(k)-1]
#define CNTL(m, k) (m).id.cntl[(k)-1]
#define INFOG(m, k) (m).id.infog[(k)-1]
#define INFO(m, k) (m).id.info[(k)-1]
#define RINFOG(m, k) (m).id.rinfog[(k)-1]

// Below this many operations of elimination, as the analysis predicts, the
// fronts are small and the BLAS runs on one thread (see SerialBlasScope):
// on our measurements one thread was as fast or faster up to 2D grids of
// 100,000 rows. Larger eliminations keep the program's thread count.
constexpr double kThreadedBlasFlops = 1e10;

static void mumpsQuiet(LinMumpsState &m) {
  ICNTL(m, 1) = -1;
  ICNTL(m, 2) = -1;
  ICNTL(m, 3) = -1;
  ICNTL(m, 4) = 0;
}

static int mumpsScalingMode(int scaling) {
  if (scaling == 1) return 7;   // iterative row and column scaling
  if (scaling == 2) return 77;  // the engine decides
  return 0;
}

static int mumpsStatus(const LinMumpsState &m) {
  const int e = INFOG(m, 1);
  if (e >= 0) return LIN_OK;
  if (e == -13) return LIN_ERR_MEMORY;
  return LIN_ERR_ENGINE;
}

// One analysis with the given MUMPS ordering (and user permutation).
static int mumpsAnalyseWith(LinSystem &sys, int ordering, const std::vector<int> *perm) {
  LinMumpsState &m = *sys.mumps;
  ICNTL(m, 7) = ordering;
  if (perm != nullptr) {
    m.permIn.resize(perm->size());
    for (size_t i = 0; i < perm->size(); ++i) m.permIn[i] = (*perm)[i] + 1;
    m.id.perm_in = m.permIn.data();
    sys.userOrder = *perm;
  } else {
    m.id.perm_in = nullptr;
    sys.userOrder.clear();
  }
  mumpsCall(m, kJobAnalyse);
  return mumpsStatus(m);
}

static int mumpsInit(LinSystem &sys) {
  sys.mumps.reset(new LinMumpsState);
  LinMumpsState &m = *sys.mumps;
  std::memset(&m.id, 0, sizeof m.id);
  m.id.sym = 2;
  m.id.par = 1;
  m.id.comm_fortran = kUseCommWorld;
  mumpsCall(m, kJobInit);
  if (INFOG(m, 1) < 0) return mumpsStatus(m);
  m.live = true;
  mumpsQuiet(m);
  const size_t nnz = sys.row.size();
  m.irn.resize(nnz);
  m.jcn.resize(nnz);
  m.a.resize(nnz);
  for (size_t k = 0; k < nnz; ++k) {
    m.irn[k] = sys.row[k] + 1;
    m.jcn[k] = sys.col[k] + 1;
  }
  m.id.n = sys.n;
  m.id.nnz = static_cast<MUMPS_INT8>(nnz);
  m.id.irn = m.irn.data();
  m.id.jcn = m.jcn.data();
  m.id.a = m.a.data();
  ICNTL(m, 6) = 0;   // analysis from the pattern alone
  ICNTL(m, 12) = 1;  // keep the ordering as given
  ICNTL(m, 8) = mumpsScalingMode(sys.settings.scaling);
  ICNTL(m, 22) = sys.settings.ooc == 2 ? 1 : 0;
  if (sys.settings.ooc == 2) std::snprintf(m.id.ooc_tmpdir, sizeof m.id.ooc_tmpdir, "%s", P_tmpdir);
  return LIN_OK;
}

// "best": the ordering of AMD and METIS with the fewer predicted entries in
// the factor.
static int mumpsAnalyseBest(LinSystem &sys, const std::vector<int> &metis) {
  LinMumpsState &m = *sys.mumps;
  int st = mumpsAnalyseWith(sys, kOrdAmd, nullptr);
  if (st != LIN_OK || metis.empty()) {
    sys.lastOrdering = LIN_ORDER_AMD;
    return st;
  }
  const long long amdFill = INFOG(m, 20);
  st = mumpsAnalyseWith(sys, kOrdUser, &metis);
  if (st == LIN_OK && INFOG(m, 20) <= amdFill) {
    sys.lastOrdering = LIN_ORDER_METIS;
    return st;
  }
  sys.lastOrdering = LIN_ORDER_AMD;
  return mumpsAnalyseWith(sys, kOrdAmd, nullptr);
}

int mumpsAnalyze(LinSystem &sys, const std::vector<int> *given) {
  int st = mumpsInit(sys);
  if (st != LIN_OK) return st;
  // The library's own choice calls orderings with random seeds, so that two
  // runs of one model could factor differently and take different paths.
  // The automatic ordering is ours instead: AMD for small systems, METIS
  // for larger ones; both repeat.
  int ord = sys.settings.ordering;
  if (ord == LIN_ORDER_AUTO) ord = sys.n >= kAutoMetisSize ? LIN_ORDER_METIS : LIN_ORDER_AMD;
  std::vector<int> metis;
  if ((ord == LIN_ORDER_METIS || ord == LIN_ORDER_BEST) && given != nullptr && !given->empty())
    metis = *given;
  else if (ord == LIN_ORDER_METIS || ord == LIN_ORDER_BEST)
    metis = metisOrdering(sys.n, static_cast<nnzint>(sys.row.size()), sys.row.data(),
                          sys.col.data());
  if (ord == LIN_ORDER_BEST) return mumpsAnalyseBest(sys, metis);
  if (ord == LIN_ORDER_METIS && !metis.empty()) {
    sys.lastOrdering = LIN_ORDER_METIS;
    return mumpsAnalyseWith(sys, kOrdUser, &metis);
  }
  // AMD, and METIS when the graph could not be partitioned.
  sys.lastOrdering = LIN_ORDER_AMD;
  return mumpsAnalyseWith(sys, kOrdAmd, nullptr);
}

// Hands the kept workspace over, first grown to the size the analysis
// predicts (INFO(8), in millions of entries when negative). False when the
// memory is not there.
static bool mumpsUserWorkspace(LinMumpsState &m) {
  const long long need = INFO(m, 8) < 0 ? -1000000LL * INFO(m, 8) : INFO(m, 8);
  try {
    if (need > 0) m.growWorkspace(static_cast<size_t>(need));
  } catch (const std::bad_alloc &) {
    return false;
  }
  if (m.wkSize > static_cast<size_t>(std::numeric_limits<MUMPS_INT>::max())) {
    m.id.wk_user = nullptr;  // beyond what the library can address: its own
    m.id.lwk_user = 0;
    return true;
  }
  m.id.wk_user = m.wkSize == 0 ? nullptr : m.wk.get();
  m.id.lwk_user = static_cast<MUMPS_INT>(m.wkSize);
  return true;
}

LinFactorInfo mumpsFactor(LinSystem &sys) {
  LinMumpsState &m = *sys.mumps;
  LinFactorInfo info;
  std::copy(sys.val.begin(), sys.val.end(), m.a.begin());
  CNTL(m, 1) = sys.settings.pivotTol;
  ICNTL(m, 24) = 1;                       // detect null pivots
  CNTL(m, 3) = sys.settings.nullPivotTol;  // relative to the norm of the matrix
  ICNTL(m, 8) = mumpsScalingMode(sys.settings.scaling);
  SerialBlasScope serial(RINFOG(m, 1) < kThreadedBlasFlops);
  for (int attempt = 0;; ++attempt) {
    if (!mumpsUserWorkspace(m)) {
      info.status = LIN_ERR_MEMORY;
      return info;
    }
    mumpsCall(m, kJobFactor);
    const int e = INFOG(m, 1);
    const bool workspace = e == -8 || e == -9 || e == -14 || e == -15 || e == -17 || e == -20;
    if (!workspace || attempt >= kMaxWorkspaceRetries) break;
    ICNTL(m, 14) = std::max(ICNTL(m, 14), 20) * 2;
    if (e == -9) m.growWorkspace(2 * m.wkSize + static_cast<size_t>(std::max(INFO(m, 2), 0)));
  }
  info.status = mumpsStatus(m);
  if (info.status == LIN_ERR_ENGINE && INFOG(m, 1) == -10) {
    // Numerically singular despite null pivot detection.
    info.status = LIN_OK;
    info.nullPivots = std::max(1, INFOG(m, 28));
    return info;
  }
  if (info.status != LIN_OK) return info;
  info.negEig = INFOG(m, 12);
  info.nullPivots = INFOG(m, 28);
  return info;
}

int mumpsSolve(LinSystem &sys, double *rhs) {
  LinMumpsState &m = *sys.mumps;
  m.id.rhs = rhs;
  m.id.nrhs = 1;
  m.id.lrhs = sys.n;
  ICNTL(m, 20) = 0;
  ICNTL(m, 21) = 0;
  ICNTL(m, 10) = 0;  // refinement is done by the caller
  SerialBlasScope serial(RINFOG(m, 1) < kThreadedBlasFlops);
  mumpsCall(m, kJobSolve);
  m.id.rhs = nullptr;
  return mumpsStatus(m);
}

std::vector<int> mumpsPivotOrder(const LinSystem &sys) {
  std::vector<int> order;
  if (!sys.mumps || sys.stage < 1 || sys.mumps->id.sym_perm == nullptr) return order;
  order.resize(static_cast<size_t>(sys.n));
  for (int i = 0; i < sys.n; ++i) order[static_cast<size_t>(i)] = sys.mumps->id.sym_perm[i] - 1;
  return order;
}

int mumpsOrderingCode(const LinSystem &sys) {
  return sys.mumps && sys.stage >= 1 ? sys.mumps->id.infog[6] : -1;
}

void mumpsRelease(LinSystem &sys) { sys.mumps.reset(); }
void LinMumpsDeleter::operator()(LinMumpsState *p) const { delete p; }
