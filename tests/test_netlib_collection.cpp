// Every netlib model of the shared collection reads with the dimensions of
// its reference table and survives a write and a read unchanged.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "interface/mps_model.h"
#include "mps_compare.h"

namespace {

const std::string kDir = MORVEX_DATA_DIR "/netlib-lp";

TEST(NetlibCollection, ModelsReadWithReferenceDimensionsAndRoundTrip) {
  std::ifstream table(kDir + "/netlib_reference.tsv");
  if (!table) GTEST_SKIP() << "netlib collection not found at " << kDir << "; skipping";
  std::string line;
  std::getline(table, line);
  int checked = 0;
  while (std::getline(table, line)) {
    std::istringstream row(line);
    std::string name, n, m;
    std::getline(row, name, '\t');
    std::getline(row, n, '\t');
    std::getline(row, m, '\t');
    const std::string path = kDir + "/mps/" + name + ".mps.gz";
    if (!std::ifstream(path)) continue;  // the table lists more models than are staged
    SCOPED_TRACE(name);
    MpsModel first, second;
    std::string err;
    ASSERT_TRUE(mpsRead(path, first, err)) << err;
    int rows = 0;
    for (const MpsRow &r : first.rows) rows += r.kind != 'N';
    EXPECT_EQ(static_cast<int>(first.cols.size()), std::stoi(n));
    EXPECT_EQ(rows, std::stoi(m));
    const std::string out = "/tmp/mx_netlib_" + name + ".mps";
    ASSERT_TRUE(mpsWrite(first, out, err)) << err;
    ASSERT_TRUE(mpsRead(out, second, err)) << err;
    std::remove(out.c_str());
    expectSameMpsModel(first, second);
    ++checked;
  }
  EXPECT_GT(checked, 0);
  std::printf("netlib models checked: %d\n", checked);
}

}  // namespace
