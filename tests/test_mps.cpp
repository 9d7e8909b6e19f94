// Reading and writing MPS files: the conventions of the format, files in
// the fixed layout, and the sample models that ship with the system.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "eval_fixture.h"
#include "interface/mps_model.h"
#include "mps_compare.h"

namespace {

std::string writeTemp(const std::string &text) {
  char name[] = "/tmp/mxmpsXXXXXX";
  std::FILE *f = fdopen(mkstemp(name), "w");
  std::fputs(text.c_str(), f);
  std::fclose(f);
  return name;
}

// Reads the text as a file: the model, or with `error` the failure expected.
MpsModel readText(const std::string &text, std::string *error = nullptr) {
  MpsModel m;
  std::string err;
  const std::string path = writeTemp(text);
  EXPECT_EQ(mpsRead(path, m, err), error == nullptr) << err;
  std::remove(path.c_str());
  if (error != nullptr) *error = err;
  return m;
}

std::string readError(const std::string &text) {
  std::string err;
  readText(text, &err);
  return err;
}

const double kInf = 1.7976931348623157e308;

TEST(MpsRead, BoundConventionsAndDefaults) {
  const MpsModel m = readText(
      "NAME test\nROWS\n N obj\n E r1\n L r2\n G r3\nCOLUMNS\n"
      "    MARKER 'MARKER' 'INTORG'\n    i1 obj 1 r1 1\n    i2 r2 1\n    MARKER 'MARKER' 'INTEND'\n"
      "    x1 obj 2 r1 1\n    x2 r3 1\n    x3 r2 1\n"
      "RHS\n    rhs obj 3.5 r1 4\n    rhs r2 5\nRANGES\n    rng r1 0\n    rng r2 -2\n"
      "BOUNDS\n UP bnd i2 9\n UP bnd x1 -3\n MI bnd x2\n FR bnd x3\n"
      "ENDATA\n");
  ASSERT_EQ(m.cols.size(), 5u);
  // An integer column without bounds is a 0-1 column; with an upper bound only, its lower bound is 0.
  EXPECT_TRUE(m.cols[0].integer);
  EXPECT_EQ(m.cols[0].up, 1.0);
  EXPECT_EQ(std::tie(m.cols[1].lo, m.cols[1].up), std::make_tuple(0.0, 9.0));
  // A negative upper bound alone frees the lower bound (with a warning).
  EXPECT_EQ(m.cols[2].lo, -kInf);
  EXPECT_EQ(m.warnings.size(), 1u);
  EXPECT_EQ(std::tie(m.cols[3].lo, m.cols[3].up), std::make_tuple(-kInf, kInf));
  // The objective row's right-hand side is a constant on the other side.
  EXPECT_EQ(m.objConstant, -3.5);
  EXPECT_EQ(m.objCoefs[2], 2.0);
  EXPECT_EQ(m.rows[0].rhs, 4.0);
  EXPECT_EQ(std::tie(m.rows[0].hasRange, m.rows[0].range), std::make_tuple(true, 0.0));
  EXPECT_EQ(m.entries.size(), 5u);
}

// One line of the fixed layout: fields start at columns 2, 5, 15, 25, 40, 50.
std::string fixedLine(const std::vector<std::string> &fields) {
  static const size_t start[6] = {1, 4, 14, 24, 39, 49};
  std::string line;
  for (size_t k = 0; k < fields.size(); ++k) {
    line.resize(start[k], ' ');
    line += fields[k];
  }
  return line + "\n";
}

TEST(MpsRead, FixedLayoutWithBlanksInNames) {
  const MpsModel m = readText("NAME          FIXED\nROWS\n" + fixedLine({"N", "COST"}) + fixedLine({"L", "LIM 1"}) +
                            "COLUMNS\n" + fixedLine({"", "DEDO3 11", "COST", "1.0", "LIM 1", "2.0"}) +
                            fixedLine({"", "X 2", "LIM 1", "3.0"}) + "RHS\n" +
                            fixedLine({"", "RHS", "LIM 1", "4.0"}) + "BOUNDS\n" +
                            fixedLine({"UP", "BND", "DEDO3 11", "7.0"}) + "ENDATA\n");
  EXPECT_TRUE(m.fixedFormat);
  ASSERT_EQ(m.cols.size(), 2u);
  EXPECT_EQ(m.cols[0].name, "DEDO3 11");
  EXPECT_EQ(m.rows[0].name, "LIM 1");
  EXPECT_EQ(m.cols[0].up, 7.0);
  EXPECT_EQ(m.rows[0].rhs, 4.0);
  EXPECT_EQ(m.entries.size(), 2u);
}

// Unknown sections and rows fail with their message (a missing file is
// under MpsContext); a file without ENDATA reads to its last line.
TEST(MpsRead, StructuralErrorsAndAMissingEnd) {
  EXPECT_EQ(readError("NAME x\nROWS\n N obj\nFOO\nENDATA\n"), "ERROR: MPS flag FOO is not supported by Morvex.\n");
  EXPECT_EQ(readError("ROWS\n N obj\n L c1\n L c2\nCOLUMNS\n x c1 1\n"
                      "QCMATRIX c1\n x x 1\nRHS\nQCMATRIX c2\n x x 1\nENDATA\n"),
            "ERROR: Quadratic constraints must be contiguously specified\n"
            "       in MPS file for the Morvex MPS reader.\n");
  EXPECT_EQ(readError("ROWS\n N obj\nCOLUMNS\n x nosuch 1\nENDATA\n"), "ERROR: line 4, invalid row name: nosuch\n");
  EXPECT_EQ(readError("ROWS\n N obj\nCOLUMNS\n x obj 1\nBOUNDS\n XX bnd x 1\nENDATA\n"),
            "ERROR: parsing MPS file: XX is not a valid identifier for bounds");
  const MpsModel m = readText("NAME x\nOBJSENSE\n    MAXIMIZE\nROWS\n N obj\n G c\nCOLUMNS\n x obj 1 c 1\nQUADOBJ\n x x 2\n");
  EXPECT_TRUE(m.maximize);
  EXPECT_EQ(m.quadObj.size(), 1u);
  EXPECT_FALSE(m.quadObjFull);
}

// A context loaded from a file or the bulk loader, written back to a file.
struct MpsContext : EvalModel {
  const std::string dir = "/usr/share/coin/Data/Sample/";
  // The model the context writes, as read back from the file.
  MpsModel written() {
    MpsModel m;
    std::string err;
    const std::string path = writeTemp("");
    EXPECT_EQ(MX_write_mps_file(kc, path.c_str()), 0) << out->text;
    EXPECT_TRUE(mpsRead(path, m, err)) << err;
    std::remove(path.c_str());
    return m;
  }
};

// A sample model written by the file writer reads back unchanged; loaded
// into a context and written from it, rows may come back in another form of
// the same bounds, columns may not.
TEST_F(MpsContext, SampleModelsWriteAndReadBack) {
  for (const char *file : {"afiro.mps", "p0033.mps", "exmip1.mps", "e226.mps", "share2qp.mps", "galenetbnds.mps"}) {
    SCOPED_TRACE(file);
    MpsModel original, copy;
    std::string err;
    ASSERT_TRUE(mpsRead(dir + file, original, err)) << err;
    const std::string path = writeTemp("");
    ASSERT_TRUE(mpsWrite(original, path, err)) << err;
    ASSERT_TRUE(mpsRead(path, copy, err)) << err;
    std::remove(path.c_str());
    expectSameMpsModel(original, copy);

    fresh();
    ASSERT_EQ(MX_load_mps_file(kc, (dir + file).c_str()), 0) << out->text;
    const MpsModel back = written();
    ASSERT_EQ(back.cols.size(), original.cols.size());
    EXPECT_EQ(back.rows.size(), original.rows.size());
    EXPECT_EQ(back.entries.size(), original.entries.size());
    for (size_t j = 0; j < original.cols.size(); ++j)
      EXPECT_EQ(std::tie(back.cols[j].lo, back.cols[j].up), std::tie(original.cols[j].lo, original.cols[j].up));
    EXPECT_EQ(std::tie(back.objCoefs, back.objConstant), std::tie(original.objCoefs, original.objConstant));
  }
}

TEST_F(MpsContext, RangesBecomeConstraintBoundsAndCodesAreItsOwn) {
  const std::string path = writeTemp(
      "ROWS\n N obj\n E e0\n E e1\n L l\n G g\nCOLUMNS\n x obj 1 e0 1\n x e1 1\n x l 1\n x g 1\n"
      "RHS\n rhs e0 2 e1 2\n rhs l 5 g 1\nRANGES\n rng e0 -1 e1 3\n rng l 2 g -4\nENDATA\n");
  ASSERT_EQ(MX_load_mps_file(kc, path.c_str()), 0);
  // E with R < 0: [rhs + R, rhs]; E with R > 0: [rhs, rhs + R]; L: [rhs - |R|, rhs]; G: [rhs, rhs + |R|].
  std::vector<double> lo(4), up(4);
  ASSERT_EQ(MX_get_con_lobnds_all(kc, lo.data()), 0);
  ASSERT_EQ(MX_get_con_upbnds_all(kc, up.data()), 0);
  EXPECT_EQ(lo, (std::vector<double>{1, 2, 3, 1}));
  EXPECT_EQ(up, (std::vector<double>{2, 5, 5, 5}));
  EXPECT_EQ(MX_load_mps_file(kc, path.c_str()), 8);
  EXPECT_EQ(out->take().find("ERROR: Problem kc should be empty"), 0u);
  std::remove(path.c_str());
  fresh();
  EXPECT_EQ(MX_load_mps_file(kc, "/no/such.mps"), 32);
  EXPECT_EQ(out->take(), "ERROR: file /no/such.mps not found.\n");
}

// The bulk loader and a file of the same model give the same context.
TEST_F(MpsContext, BulkLoaderMatchesTheFile) {
  const double obj[2] = {1.0, -2.0}, xl[2] = {0.0, -1.0}, xu[2] = {4.0, MX_INFINITY};
  const double cl[1] = {-MX_INFINITY}, cu[1] = {3.0}, jc[2] = {1.0, 1.0}, hc[2] = {1.0, 0.5};
  const int ci[2] = {0, 0}, vi[2] = {0, 1}, h1[2] = {0, 0}, h2[2] = {0, 1};
  ASSERT_EQ(MX_load_qp(kc, 2, obj, xl, xu, 1, cl, cu, 2, ci, vi, jc, 2, h1, h2, hc), 0);
  const MpsModel a = written();
  const std::string path = writeTemp("");
  ASSERT_EQ(MX_write_mps_file(kc, path.c_str()), 0);
  fresh();
  ASSERT_EQ(MX_load_mps_file(kc, path.c_str()), 0);
  std::remove(path.c_str());
  expectSameMpsModel(a, written());
  ASSERT_EQ(a.quadObj.size(), 2u);
  // 1.0 x0^2 + 0.5 x0 x1 is 0.5 x'Qx with Q00 = 2 and Q01 = 0.5.
  EXPECT_EQ(a.quadObj[0].value, 2.0);
  EXPECT_EQ(a.quadObj[1].value, 0.5);
}

}  // namespace
