// AMPL mode of the tool: `morvex stub -AMPL` writes stub.sol, and the AMPL
// library reads back the message, the point and the result code.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "apps/nl_model.h"

namespace {

TEST(AmplMode, SolutionFileReadsBackThroughTheAmplLibrary) {
  const std::string source = std::string(MORVEX_DATA_DIR) + "/nl-cute-pyomo-ampl/hs071.nl";
  if (!std::ifstream(source)) GTEST_SKIP() << source << " not found; skipping";
  char tmpl[] = "/tmp/mxamplXXXXXX";
  const std::string dir = mkdtemp(tmpl);
  const std::string stub = dir + "/hs071";
  ASSERT_EQ(std::system(("cp " + source + " " + stub + ".nl").c_str()), 0);
  const std::string cmd = "morvex_options='algorithm=-2 outlev=0' " + std::string(MORVEX_TOOL) + " " + stub + " -AMPL";
  ASSERT_EQ(std::system(cmd.c_str()), 0) << cmd;
  std::string error, message;
  NlModelPtr model = nlRead(stub + ".nl", error);
  ASSERT_TRUE(model) << error;
  std::vector<double> x, y;
  int result = -7;
  ASSERT_TRUE(nlReadSolution(*model, stub + ".sol", message, x, y, result));
  EXPECT_NE(message.find("Morvex: return code 0"), std::string::npos) << message;
  EXPECT_EQ(result, 0);
  // With algorithm -2 the point is the model's start (1, 5, 5, 1).
  const std::vector<double> start = nlStartPoint(*model);
  ASSERT_EQ(x.size(), 4u);
  EXPECT_EQ(x, start);
  EXPECT_EQ(x[1], 5.0);
  std::system(("rm -rf " + dir).c_str());
}

}  // namespace
