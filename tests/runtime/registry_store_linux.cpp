// Gives the suite's registry a folder of its own, which comes into being with the first value.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

struct RegistryStore : testing::Environment {
    void SetUp() override { setenv("ZTREE_REGISTRY", folder.c_str(), 1); }
    void TearDown() override { std::filesystem::remove_all(folder); }
    const std::string folder = "registry." + std::to_string(getpid());
};
const auto* const s_store = testing::AddGlobalTestEnvironment(new RegistryStore);

} // namespace
