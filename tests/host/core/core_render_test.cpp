#include "core_test_support.h"

#include <max/maxscript/exceptions.h>
#include <system/guarded_call.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace corrivane::host::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr TimeValue ticks_per_frame = 160;

class CoreRenderTest : public CoreTest {
protected:
    int open(INode* camera, int type = RENDTYPE_NORMAL) {
        ViewExp* viewport = camera == nullptr ? m_core.GetActiveViewport() : nullptr;
        return m_core.OpenCurRenderer(camera, viewport, type, width, height);
    }

    int open(const char* camera, int type = RENDTYPE_NORMAL) {
        return open(m_core.GetINodeByName(camera), type);
    }

    int render(Bitmap& bitmap, TimeValue time = 0, RECT* region = nullptr) {
        return m_core.CurRendererRenderFrame(time, &bitmap, nullptr, 1.0F, nullptr, region);
    }

    std::vector<float> render_viewport() {
        EXPECT_EQ(1, open(static_cast<INode*>(nullptr)));
        const BitmapPointer bitmap = make_bitmap(width, height);
        EXPECT_EQ(1, render(*bitmap));
        return numbers_of(*bitmap);
    }

    PBBitmap* element_target(int index) {
        PBBitmap* target = nullptr;
        m_core.GetCurRenderElementMgr()->GetRenderElement(index)->GetPBBitmap(target);
        return target;
    }
};

bool shows_something(const std::vector<float>& numbers) {
    return std::ranges::any_of(numbers, [](float number) { return number > 0; });
}

TEST_F(CoreRenderTest, RendersThroughTheGivenCameraOrTheViewport) {
    json scene = triangle_scene();
    ASSERT_EQ(1, load(scene));
    const std::vector<float> camera1 = render_camera("Camera01", 0);
    const std::vector<float> camera2 = render_camera("Camera02", 0);
    const std::vector<float> framed = render_viewport();
    EXPECT_TRUE(shows_something(camera1) && shows_something(camera2) && shows_something(framed));
    EXPECT_NE(camera1, camera2);
    EXPECT_NE(camera1, framed);

    render_settings(scene)["activeView"] = "Camera02";
    ASSERT_EQ(1, load(scene));
    EXPECT_EQ(camera2, render_viewport());
}

TEST_F(CoreRenderTest, TheFramesTimePosesTheScene) {
    ASSERT_EQ(1, load(triangle_scene()));
    const std::vector<float> start = render_camera("Camera01", 0);
    EXPECT_NE(start, render_camera("Camera01", 10 * ticks_per_frame));
    m_core.SetTime(10 * ticks_per_frame, TRUE);
    EXPECT_EQ(start, render_camera("Camera01", 0));
}

TEST_F(CoreRenderTest, ARegionsBitmapHoldsThatPartOfTheImage) {
    ASSERT_EQ(1, load(triangle_scene()));
    const std::vector<float> whole = render_camera("Camera01", 0);
    ASSERT_EQ(1, open("Camera01", RENDTYPE_REGION));
    RECT region{11, 7, 37, 30};
    const BitmapPointer bitmap = make_bitmap(26, 23);
    ASSERT_EQ(1, render(*bitmap, 0, &region));
    for (int y = 0; y < 23; ++y) {
        const float* row = &whole[static_cast<std::size_t>((y + 7) * width + 11) * 4];
        EXPECT_TRUE(std::equal(row, row + 26 * 4, &bitmap->row(y)->r)) << "row " << y;
    }
}

TEST_F(CoreRenderTest, WhatDoesNotFitTogetherFailsWithAReasonAndTheNextFrameWorks) {
    ASSERT_EQ(1, load(triangle_scene()));
    const BitmapPointer small = make_bitmap(width, height - 1);
    const BitmapPointer fitting = make_bitmap(width, height);
    RECT outside{0, 0, width, height + 1};
    RECT whole{0, 0, width, height};
    struct Case {
        int type;
        Bitmap* bitmap;
        RECT* region;
        const char* reason;
    };
    const Case cases[] = {
        {RENDTYPE_NORMAL, small.get(), nullptr, "48x31 pixels, but 48x32 are rendered"},
        {RENDTYPE_NORMAL, nullptr, nullptr, "not an image"},
        {RENDTYPE_NORMAL, fitting.get(), &whole, "opened for whole images"},
        {RENDTYPE_REGION, fitting.get(), nullptr, "opened for regions"},
        {RENDTYPE_REGION, fitting.get(), &outside, "leaves the image"},
    };
    for (const Case& bad : cases) {
        SCOPED_TRACE(bad.reason);
        ASSERT_EQ(1, open("Camera01", bad.type));
        testing::internal::CaptureStderr();
        EXPECT_EQ(0, m_core.CurRendererRenderFrame(0, bad.bitmap, nullptr, 1.0F, nullptr, bad.region));
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(bad.reason));
        EXPECT_EQ(1, render(*fitting, 0, bad.type == RENDTYPE_REGION ? &whole : nullptr));
    }
}

TEST_F(CoreRenderTest, OpensOnlyForOneCameraOrViewportOfTheScene) {
    ASSERT_EQ(1, load(triangle_scene()));
    INode* camera = m_core.GetINodeByName("Camera01");
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, open("Helper"));
    EXPECT_EQ(0, m_core.OpenCurRenderer(nullptr, nullptr, RENDTYPE_NORMAL, width, height));
    EXPECT_EQ(0, m_core.OpenCurRenderer(camera, m_core.GetActiveViewport(), RENDTYPE_NORMAL, width, height));
    EXPECT_EQ(0, m_core.OpenCurRenderer(camera, nullptr, 3, width, height));
    EXPECT_EQ(0, m_core.OpenCurRenderer(camera, nullptr, RENDTYPE_NORMAL, 0, height));
    m_core.FileReset(TRUE);
    EXPECT_EQ(0, open(camera)) << "a node of a scene that is closed";
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("\"Helper\" is not a camera"));
}

TEST_F(CoreRenderTest, RendersOnlyWhileOpen) {
    ASSERT_EQ(1, load(triangle_scene()));
    const BitmapPointer bitmap = make_bitmap(width, height);
    EXPECT_EQ(0, render(*bitmap));
    m_core.CloseCurRenderer();
    ASSERT_EQ(1, open("Camera01"));
    EXPECT_EQ(1, render(*bitmap));
    m_core.CloseCurRenderer();
    EXPECT_EQ(0, render(*bitmap));
    ASSERT_EQ(1, open("Camera01"));
    ASSERT_EQ(1, load(triangle_scene()));
    EXPECT_EQ(0, render(*bitmap)) << "a load closes the renderer";
}

TEST_F(CoreRenderTest, TheCallbackHearsOfTheRenderAndStopsIt) {
    ASSERT_EQ(1, load(triangle_scene()));
    ASSERT_EQ(1, open("Camera01"));
    const BitmapPointer bitmap = make_bitmap(width, height);
    RecordingProgress listening;
    EXPECT_EQ(1, m_core.CurRendererRenderFrame(0, bitmap.get(), &listening, 1.0F, nullptr, nullptr));
    EXPECT_THAT(listening.titles, testing::ElementsAre("Preparing Objects", "Rendering Image"));
    RecordingProgress stopping(0);
    EXPECT_EQ(0, m_core.CurRendererRenderFrame(0, bitmap.get(), &stopping, 1.0F, nullptr, nullptr));
    EXPECT_EQ(1, m_core.CurRendererRenderFrame(0, bitmap.get(), nullptr, 1.0F, nullptr, nullptr));
}

class ThrowingProgress final : public RendProgressCallback {
public:
    void SetTitle(const char* /*title*/) override {}
    int Progress(int /*done*/, int /*total*/) override { throw std::runtime_error("no connection"); }
};

TEST_F(CoreRenderTest, ACallbackThatThrowsFailsTheRender) {
    ASSERT_EQ(1, load(triangle_scene()));
    ASSERT_EQ(1, open("Camera01"));
    const BitmapPointer bitmap = make_bitmap(width, height);
    ThrowingProgress throwing;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, m_core.CurRendererRenderFrame(0, bitmap.get(), &throwing, 1.0F, nullptr, nullptr));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("no connection"));
    EXPECT_EQ(1, render(*bitmap));
}

json scene_with_elements() {
    json scene = triangle_scene();
    render_settings(scene)["elements"] = {{{"type", "alpha"}, {"output", "C:\\out\\alpha.png"}},
                                          {{"type", "normal"}},
                                          {{"type", "depth"}, {"output", "C:\\out\\depth.exr"}}};
    return scene;
}

TEST_F(CoreRenderTest, ElementsAreRenderedIntoTheBitmapsThatTheyAreGiven) {
    ASSERT_EQ(1, load(scene_with_elements()));
    IRenderElementMgr& elements = *m_core.GetCurRenderElementMgr();
    ASSERT_TRUE(elements.GetElementsActive());
    ASSERT_EQ(3, elements.NumRenderElements());
    EXPECT_EQ(nullptr, elements.GetRenderElement(3));
    ASSERT_NE(nullptr, element_target(0));
    EXPECT_EQ(nullptr, element_target(1)) << "an element without an output has no record";
    ASSERT_EQ(1, open("Camera01"));
    const BitmapPointer beauty = make_bitmap(width, height);
    const BitmapPointer alpha = make_bitmap(width, height);
    element_target(0)->bm = alpha.get();
    ASSERT_EQ(1, render(*beauty));
    const std::vector<float> beauty_numbers = numbers_of(*beauty);
    const std::vector<float> alpha_numbers = numbers_of(*alpha);
    ASSERT_TRUE(shows_something(alpha_numbers));
    for (std::size_t i = 0; i < beauty_numbers.size(); i += 4) {
        ASSERT_EQ(beauty_numbers[i + 3], alpha_numbers[i]) << "number " << i;
    }
    const BitmapPointer small = make_bitmap(8, 8);
    element_target(0)->bm = small.get();
    EXPECT_EQ(0, render(*beauty));
    element_target(0)->bm = nullptr;
}

TEST_F(CoreRenderTest, EachFrameFindsTheConfiguredElementNames) {
    ASSERT_EQ(1, load(scene_with_elements()));
    ASSERT_EQ(1, open("Camera01"));
    const BitmapPointer bitmap = make_bitmap(width, height);
    // A script that moves the time around a frame must not take the numbered name away: the file is still to
    // be saved.
    m_core.set_render_hooks({[this] { m_core.SetTime(3 * ticks_per_frame, TRUE); }, {}});
    for (int frame = 0; frame < 2; ++frame) {
        m_core.SetTime(frame * ticks_per_frame, TRUE);
        EXPECT_STREQ("C:\\out\\depth.exr", element_target(2)->bi.Name());
        element_target(2)->bi.SetName("C:\\out\\depth0000.exr");
        EXPECT_EQ(1, render(*bitmap));
        EXPECT_STREQ("C:\\out\\depth0000.exr", element_target(2)->bi.Name());
    }
}

class HookTest : public CoreRenderTest {
protected:
    HookTest() {
        EXPECT_EQ(1, load(scene_with_elements()));
        EXPECT_EQ(1, open("Camera01"));
    }

    const BitmapPointer m_bitmap = make_bitmap(width, height);
};

TEST_F(HookTest, ScriptsRunAroundEachFrame) {
    std::string order;
    m_core.set_render_hooks({[&] { order += shows_something(numbers_of(*m_bitmap)) ? "!" : "before "; },
                             [&] { order += shows_something(numbers_of(*m_bitmap)) ? "after" : "!"; }});
    EXPECT_EQ(1, render(*m_bitmap));
    EXPECT_EQ("before after", order);
}

TEST_F(HookTest, AScriptsErrorComesOutOfTheRender) {
    struct ScriptError {};
    m_core.set_render_hooks({[] { throw ScriptError(); }, {}});
    EXPECT_THROW(render(*m_bitmap), ScriptError);
    m_core.set_render_hooks({{}, [] { throw ScriptError(); }});
    EXPECT_THROW(render(*m_bitmap), ScriptError);
    m_core.set_render_hooks({});
    EXPECT_EQ(1, render(*m_bitmap));
}

TEST_F(HookTest, AScriptMayCloseTheSceneAndCannotRenderWithinARender) {
    testing::internal::CaptureStderr();
    int nested = -1;
    m_core.set_render_hooks({[&] { nested = render(*m_bitmap); }, {}});
    EXPECT_EQ(1, render(*m_bitmap));
    EXPECT_EQ(0, nested);
    m_core.set_render_hooks({[&] { m_core.FileReset(TRUE); }, {}});
    EXPECT_EQ(0, render(*m_bitmap));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a script closed the renderer"));
}

TEST_F(HookTest, AFaultInAScriptDoesNotLeaveTheCoreRendering) {
    m_core.set_render_hooks({[] { RaiseException(EXCEPTION_INT_OVERFLOW, 0, 0, nullptr); }, {}});
    const auto take = [](DWORD, EXCEPTION_POINTERS*, void*) { return EXCEPTION_EXECUTE_HANDLER; };
    std::function<void()> frame = [this] { render(*m_bitmap); };
    const auto call = [](void* function) { (*static_cast<const std::function<void()>*>(function))(); };
    EXPECT_EQ(EXCEPTION_INT_OVERFLOW, seh_guarded_call(call, &frame, take, nullptr));
    m_core.set_render_hooks({});
    element_target(2)->bi.SetName("changed");
    m_core.SetTime(0, TRUE);
    EXPECT_STREQ("C:\\out\\depth.exr", element_target(2)->bi.Name());
    EXPECT_EQ(1, render(*m_bitmap));
}

}  // namespace
}  // namespace corrivane::host::test
