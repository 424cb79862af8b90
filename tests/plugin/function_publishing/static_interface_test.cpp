#include "function_publishing/static_interface.h"

#include "maxscript/corrivane_interface.h"
#include "maxscript/library_entry.h"
#include "maxscript/published/published_interface.h"
#include "plugin/plugin_test.h"

namespace corrivane::test {
namespace {

using namespace quorvel::FPWrapper;

/// Publishes one function of each signature that is in use.
class Sample final : public QXStaticInterface<Sample, FP_CORE> {
public:
    std::string called;

    explicit Sample(Interface_ID id = {1, 2}, int more_functions = 0) {
        auto descriptor = QXCreateDescriptor(this, id, "Sample", nullptr);
        descriptor.add_function(&Sample::Ready, "Ready");
        descriptor.add_function(&Sample::Pick, "Pick", "index");
        descriptor.add_function(&Sample::Scale, "Scale", "factor");
        descriptor.add_function(&Sample::Rename, "Rename", "from", "to");
        descriptor.add_read_only_property(&Sample::Count, "Count");
        descriptor.add_function(&Sample::Explicit, "Explicit", "text", "Param2", "Param3", "Param4", "Param5",
                                "Param6", "Param7", 77);
        descriptor.add_function(&Sample::Find, "Find");
        descriptor.add_function(&Sample::Entry, "Entry", "index", "key");
        for (int i = 0; i < more_functions; ++i)
            descriptor.add_function(&Sample::Rename, "Rename" + std::to_string(i), "from", "to");
    }

    bool Ready() { return true; }
    bool Pick(int index) { return index == 3; }
    bool Scale(float factor) { return factor == 0.5F; }
    bool Rename(const std::string& from, const std::string& to) {
        called = from + " to " + to;
        return false;
    }
    int Count() { return -5; }
    void Explicit(const std::string& text) {
        if (text == "runtime") throw RuntimeError("of the script's own");
        if (text == "max") throw 17;
        if (text == "standard") throw std::out_of_range("bad index");
    }
    int Find(const std::string& text) { return static_cast<int>(text.size()); }
    Value* Entry(int index, const std::string& key) {
        return new String((std::to_string(index) + key).c_str());
    }
};

using FunctionPublishing = ScriptTest;

TEST_F(FunctionPublishing, ScriptsCallTheMembers) {
    const std::pair<const char*, const char*> cases[] = {
        {"Sample.Ready() and Sample.Pick 3 and Sample.Scale 0.5", "true"},
        {"Sample.Rename \"a\" \"b\"", "false"},
        {"Sample.Count + Sample.Find \"four\"", "-1"},
        {"Sample.Entry -1 \"key\"", "\"-1key\""},
        {"Sample.Explicit \"fine\"", "OK"},
        {"Sample.Explicit \"standard\"", "-- Runtime error: bad index"},
        {"Sample.Explicit \"runtime\"", "-- Runtime error: of the script's own"},
        {"Sample.Explicit \"max\"", "an unknown exception"}};
    // With many functions the descriptor outgrows its first buffer, several times.
    for (const int more_functions : {0, 60}) {
        Sample sample({1, 2}, more_functions);
        for (const auto& [script, shown] : cases)
            EXPECT_EQ(run_script(script), shown) << script;
        EXPECT_THAT(run_script("Sample.Count = 1"), StartsWith("-- Runtime error"));
        for (int i = 0; i < more_functions; ++i) {
            const std::string number = std::to_string(i);
            EXPECT_EQ(run_script("Sample.Rename" + number + " \"" + number + "\" \"b\""), "false");
            EXPECT_EQ(sample.called, number + " to b");
        }
    }
}

TEST_F(FunctionPublishing, IdentifiersFollowTheOrder) {
    FPValue result;
    EXPECT_THROW(Sample()._dispatch_fn(77, 0, result, nullptr), RuntimeError) << "an argument is missing";
    for (const auto& [time, frame] : {std::pair(25 * 160 + 159, 25), std::pair(-159, 0)}) {
        fake_max().time = time;
        EXPECT_EQ(quillane_util._dispatch_fn(12, 0, result, nullptr), FPS_OK);
        EXPECT_EQ(result.type, TYPE_INT);
        EXPECT_EQ(result.i, frame) << "CurrentFrame";
    }
    EXPECT_EQ(quillane_util._dispatch_fn(15, 0, result, nullptr), FPS_NO_SUCH_FUNCTION);
}

TEST_F(FunctionPublishing, ProductIsPublishedAsScriptsAndFarmsKnowIt) {
    EXPECT_STREQ(LibDescription(), "Corrivane, Cloud interface");
    EXPECT_EQ(LibVersion(), 0x23281500U);
    const host::PublishedInterface* published = host::find_published_interface("QuillaneUtil");
    ASSERT_NE(published, nullptr);
    EXPECT_EQ(published->id, Interface_ID(0x83928748, 0xA38F941E));
    std::string functions;
    for (const auto& function : published->functions) {
        functions += std::to_string(function.id) + " " + function.name;
        for (const auto& parameter : function.parameters)
            functions += " " + parameter.name + ":" + std::to_string(parameter.type);
        functions += " -> " + std::to_string(function.return_type) + "\n";
    }
    EXPECT_EQ(
        functions,
        "0 Debug_StartJob fileName:44 cameraName:44 -> 46\n1 Debug_EndJob -> 46\n"
        "2 Debug_RenderFrame frameIndex:1 -> 46\n3 SetTitle title:44 -> 25\n4 SetProgress percent:0 -> 46\n"
        "5 FailRender message:44 -> 25\n6 GetSubmitInfoEntry key:44 -> 44\n"
        "7 GetSubmitInfoEntryElementCount key:44 -> 1\n8 GetSubmitInfoEntryElement index:1 key:44 -> 44\n"
        "9 GetJobInfoEntry key:44 -> 44\n10 GetAuxFilename index:1 -> 44\n"
        "11 GetOutputFilename index:1 -> 44\n13 LogMessage message:44 -> 25\n"
        "14 RunCorrivaneDaemon portNumber:1 token:44 -> 46\n");
    ASSERT_EQ(published->properties.size(), 1U);
    EXPECT_EQ(published->properties[0].name, "CurrentFrame");
    EXPECT_EQ(published->properties[0].getter, 12);
    EXPECT_EQ(published->properties[0].setter, FP_NO_FUNCTION);
}

TEST_F(FunctionPublishing, DefaultIdentifierIsRefusedLoudlyAndNotPublished) {
    const std::string text =
        "QXCreateDescriptor() - The interface ID for the function publishing descriptor \"Sample\" was set "
        "to the default value, its value must be set to a randomly selected constant value.";
    EXPECT_EQ(message_of([] { const Sample sample{Interface_ID()}; }), text);
    EXPECT_THAT(fake_max().system_log, ElementsAre("1 1 QX Function Publishing Wrapper: " + text));
    EXPECT_EQ(run_script("Sample"), "undefined");
}

TEST(VarArgBuffer, GrowsByHalvesBelowTwentyFreeBytes) {
    VarArgBuffer buffer;
    std::vector<std::size_t> capacities{buffer.capacity()};
    for (FPSlot i = 0; i < FPSlot{3200 / sizeof(FPSlot)}; ++i) {
        buffer.append(i);
        if (buffer.capacity() != capacities.back()) capacities.push_back(buffer.capacity());
    }
    EXPECT_THAT(capacities, ElementsAre(1024, 1536, 2304, 3456));
}

}  // namespace
}  // namespace corrivane::test
