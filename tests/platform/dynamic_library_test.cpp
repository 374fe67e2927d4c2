#include "platform/dynamic_library.h"

#include <gtest/gtest.h>

#include "base/error.h"

namespace tagvera::platform {
namespace {

TEST(DynamicLibrary, LoadsTheLibraryAndFindsItsEntryPoints) {
    DynamicLibrary lib(TAGVERA_LIBRARY_PATH);
    EXPECT_TRUE(lib.loaded());
    EXPECT_EQ(lib.path(), TAGVERA_LIBRARY_PATH);
    EXPECT_NE(lib.find("KMACreateInstance"), nullptr);
    EXPECT_NE(lib.function<void (*)()>("KMAShutdown"), nullptr);
    EXPECT_EQ(lib.find("tagvera_internal_symbol_that_is_hidden"), nullptr);
    try {
        lib.symbol("NoSuchEntryPoint");
        FAIL();
    } catch (const Error& e) {
        EXPECT_NE(std::string(e.what()).find("NoSuchEntryPoint"), std::string::npos) << e.what();
    }
    DynamicLibrary moved = std::move(lib);
    EXPECT_FALSE(lib.loaded());
    EXPECT_NE(moved.find("SetDLLAccessPath"), nullptr);
    moved.close();
    EXPECT_FALSE(moved.loaded());
    EXPECT_EQ(moved.find("SetDLLAccessPath"), nullptr);
    EXPECT_THROW(moved.symbol("SetDLLAccessPath"), Error);
}

TEST(DynamicLibrary, AMissingLibraryExplainsItself) {
    const std::string path = "/nonexistent/libnothing.so";
    EXPECT_THROW(DynamicLibrary{path}, Error);
    DynamicLibrary out;
    std::string error;
    EXPECT_FALSE(DynamicLibrary::TryLoad(path, &out, &error));
    EXPECT_NE(error.find(path), std::string::npos) << error;
    EXPECT_NE(error.find("No such file"), std::string::npos) << error;
    EXPECT_TRUE(DynamicLibrary::TryLoad(TAGVERA_LIBRARY_PATH, &out, &error));
    EXPECT_TRUE(out.loaded());
}

}  // namespace
}  // namespace tagvera::platform
