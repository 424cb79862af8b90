#include "maxscript/corrivane_interface.h"

#include "fakes/fake_max.h"
#include "fakes/fake_publishing.h"
#include "fakes/fake_scripts.h"
#include "farm/daemon_session.h"
#include "maxscript/library_entry.h"
#include "plugin/plugin_test.h"
#include "quorvel/max3d/maxscript.h"

#include <functional>

namespace corrivane::test {
namespace {

/// Calls the published functions as 3ds Max does.
class CorrivaneInterfaceTest : public PluginTest {
protected:
    CorrivaneInterface& m_published =
        dynamic_cast<CorrivaneInterface&>(*published_interface("QuillaneUtil").owner);

    /// A session in which a script runs.
    void connect_session() {
        session_socket.connect("127.0.0.1", m_worker.port());
        m_worker.accept();
        daemon_running = true;
    }

    WirePeer m_worker;
};

std::string printed(Value* value) {
    return quorvel::max3d::maxscript_value_text(value);
}

/// The text of the RuntimeError that an operation throws.
std::string script_error(const std::function<void()>& operation) {
    try {
        operation();
    } catch (RuntimeError& error) {
        return quorvel::max3d::maxscript_exception_text(error);
    }
    return "none";
}

TEST(LibraryEntry, IdentifiesTheLibrary) {
    EXPECT_STREQ(LibDescription(), "Corrivane, Cloud interface");
    EXPECT_EQ(LibVersion(), 0x23281500U);
    LibInit();
}

TEST_F(CorrivaneInterfaceTest, FourteenFunctionsAndOnePropertyArePublished) {
    const PublishedInterface& published = published_interface("QuillaneUtil");
    EXPECT_EQ(published.id, Interface_ID(0x83928748, 0xA38F941E));
    EXPECT_EQ(published.flags, 4U);
    EXPECT_EQ(published.description_resource, 0);
    EXPECT_EQ(published.class_desc, nullptr);
    EXPECT_EQ(published.functions, (std::vector<std::string>{
                                       "0 Debug_StartJob 46 (fileName 44, cameraName 44)",
                                       "1 Debug_EndJob 46 ()",
                                       "2 Debug_RenderFrame 46 (frameIndex 1)",
                                       "3 SetTitle 25 (title 44)",
                                       "4 SetProgress 46 (percent 0)",
                                       "5 FailRender 25 (message 44)",
                                       "6 GetSubmitInfoEntry 44 (key 44)",
                                       "7 GetSubmitInfoEntryElementCount 1 (key 44)",
                                       "8 GetSubmitInfoEntryElement 44 (index 1, key 44)",
                                       "9 GetJobInfoEntry 44 (key 44)",
                                       "10 GetAuxFilename 44 (index 1)",
                                       "11 GetOutputFilename 44 (index 1)",
                                       "13 LogMessage 25 (message 44)",
                                       "14 RunCorrivaneDaemon 46 (portNumber 1, token 44)",
                                   }));
    EXPECT_EQ(published.properties, std::vector<std::string>{"12 -1 CurrentFrame 1"});
}

TEST_F(CorrivaneInterfaceTest, WithoutASessionResultsAreLocal) {
    for (Value* value : {m_published.GetSubmitInfoEntry("k"), m_published.GetSubmitInfoEntryElement(0, "k"),
                         m_published.GetJobInfoEntry("k"), m_published.GetAuxFilename(0)})
        EXPECT_EQ(value, &undefined);
    EXPECT_EQ(m_published.GetSubmitInfoEntryElementCount("k"), 0);
    EXPECT_TRUE(m_published.SetProgress(50));
    m_published.SetTitle("100%d \"abc\"");
    EXPECT_EQ(fake_scripts().listener, "Title was set to \"100%d \"abc\"\"\n");
    fake_max().time = 25 * 160 + 159;
    job_state.currentFrame = 7;
    EXPECT_EQ(m_published.CurrentFrame(), 25);
    fake_max().time = -159;
    EXPECT_EQ(m_published.CurrentFrame(), 0);
}

TEST_F(CorrivaneInterfaceTest, InASessionTheWorkerAnswers) {
    connect_session();
    for (const char* reply :
         {"SUCCESS: a", "SUCCESS: ", "SUCCESS:", "SUCCESS: d", "no", "SUCCESS: 3", "no", "ABORT"})
        m_worker.send(reply);
    EXPECT_EQ(printed(m_published.GetJobInfoEntry("key, with comma")), "\"a\"");
    EXPECT_EQ(printed(m_published.GetSubmitInfoEntry("empty")), "\"\"");
    EXPECT_EQ(m_published.GetSubmitInfoEntry("none"), &undefined);
    EXPECT_EQ(printed(m_published.GetSubmitInfoEntryElement(-2, "Files")), "\"d\"");
    EXPECT_EQ(m_published.GetAuxFilename(4), &undefined);
    EXPECT_EQ(m_published.GetSubmitInfoEntryElementCount("Files"), 3);
    EXPECT_EQ(m_published.GetSubmitInfoEntryElementCount("none"), 0);
    EXPECT_FALSE(m_published.SetProgress(12.5F));
    m_published.SetTitle("a title");
    fake_max().time = 999;
    job_state.currentFrame = -7;
    EXPECT_EQ(m_published.CurrentFrame(), -7);

    session_socket.close(true);
    EXPECT_EQ(m_worker.receive_all(),
              (std::vector<std::string>{
                  "FUNCTION: GETJOBINFOENTRY key, with comma", "FUNCTION: GETSUBMITINFOENTRY empty",
                  "FUNCTION: GETSUBMITINFOENTRY none", "FUNCTION: GETSUBMITINFOENTRYELEMENT -2,Files",
                  "FUNCTION: GETAUXFILE 4", "FUNCTION: GETSUBMITINFOENTRYELEMENTCOUNT Files",
                  "FUNCTION: GETSUBMITINFOENTRYELEMENTCOUNT none", "FUNCTION: PROGRESS 12.5",
                  "FUNCTION: SETTITLE a title"}));
    EXPECT_EQ(fake_scripts().listener, "");
}

TEST_F(CorrivaneInterfaceTest, BrokenConnectionIsTheScriptsError) {
    connect_session();
    session_socket.close(true);
    const std::string text =
        "-- Runtime error: Error in GetJobInfoEntry: simple_socket: send called while not connected.";
    EXPECT_EQ(script_error([&] { m_published.GetJobInfoEntry("key"); }), text);
}

TEST_F(CorrivaneInterfaceTest, CountThatIsNoNumberIsTheScriptsError) {
    connect_session();
    m_worker.send("SUCCESS: 3 files");
    String key("Files");
    FPParams arguments;
    arguments.params.emplace_back().v = &key;
    FPValue result;
    const std::string error = script_error([&] { m_published._dispatch_fn(7, 0, result, &arguments); });
    EXPECT_TRUE(error.starts_with("-- Runtime error: bad lexical cast")) << error;
}

TEST_F(CorrivaneInterfaceTest, OutputFilenamesAreTheLastFrames) {
    job_state.writtenOutputFiles = {"C:\\out\\a.png", "C:\\out\\b.png"};
    EXPECT_EQ(printed(m_published.GetOutputFilename(1)), "\"C:\\out\\b.png\"");
    for (const int index : {-1, 2, 2'147'483'647, -2'147'483'647 - 1})
        EXPECT_EQ(m_published.GetOutputFilename(index), &undefined) << index;
}

TEST_F(CorrivaneInterfaceTest, FailRenderRaisesItsTextWithAndWithoutASession) {
    for (const bool session : {false, true}) {
        daemon_running = session;
        EXPECT_EQ(script_error([&] { m_published.FailRender("bad"); }), "-- Runtime error: bad");
    }
}

}  // namespace
}  // namespace corrivane::test
