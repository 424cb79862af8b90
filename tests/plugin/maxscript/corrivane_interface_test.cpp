#include "maxscript/corrivane_interface.h"

#include "maxscript/library_entry.h"
#include "plugin/plugin_test.h"

namespace corrivane::test {
namespace {

TEST(LibraryEntry, IdentifiesTheLibrary) {
    EXPECT_STREQ(LibDescription(), "Corrivane, Cloud interface");
    EXPECT_EQ(LibVersion(), 0x23281500U);
    LibInit();
}

using CorrivaneInterfaceTest = PluginTest;

TEST_F(CorrivaneInterfaceTest, IdentifiersAreTheOrderOfThePublishedFunctions) {
    fake_max().time = 25 * 160 + 159;
    FPValue result;
    EXPECT_EQ(quillane_util._dispatch_fn(12, 0, result, nullptr), FPS_OK);
    EXPECT_EQ(result.type, TYPE_INT);
    EXPECT_EQ(result.i, 25) << "CurrentFrame";
    EXPECT_EQ(quillane_util._dispatch_fn(15, 0, result, nullptr), FPS_NO_SUCH_FUNCTION);
    fake_max().time = -159;
    EXPECT_EQ(quillane_util.CurrentFrame(), 0);
}

}  // namespace
}  // namespace corrivane::test
