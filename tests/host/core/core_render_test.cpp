#include "core_test_support.h"

#include <system/guarded_call.h>

#include <algorithm>

namespace corrivane::host::test {
namespace {

class CoreRenderTest : public CoreTest {
protected:
    CoreRenderTest() {
        json scene = small_scene();
        render_settings(scene)["elements"] = {{{"type", "depth"}, {"output", "C:\\out\\depth.exr"}}};
        EXPECT_EQ(1, load(scene));
    }

    int open(const char* camera = "Camera01", int type = RENDTYPE_NORMAL) {
        return m_core.OpenCurRenderer(m_core.GetINodeByName(camera), nullptr, type, width, height);
    }
    int render(RECT* region = nullptr, RendProgressCallback* progress = nullptr) {
        return render_into(m_bitmap.get(), region, progress);
    }
    int render_into(Bitmap* bitmap, RECT* region, RendProgressCallback* progress = nullptr) {
        return m_core.CurRendererRenderFrame(0, bitmap, progress, 1.0F, nullptr, region);
    }
    PBBitmap* element_target() {
        PBBitmap* target = nullptr;
        m_core.GetCurRenderElementMgr()->GetRenderElement(0)->GetPBBitmap(target);
        return target;
    }

    const BitmapPointer m_bitmap = make_bitmap();
};

TEST_F(CoreRenderTest, WhatDoesNotFitTogetherFailsWithAReasonAndTheNextFrameWorks) {
    const BitmapPointer small = make_bitmap(width, height - 1);
    RECT outside{0, 0, width, height + 1};
    RECT whole{0, 0, width, height};
    const struct {
        int type;
        Bitmap* bitmap;
        RECT* region;
        Bitmap* element;
        const char* reason;
    } cases[] = {
        {RENDTYPE_NORMAL, small.get(), nullptr, nullptr, "64x47 pixels, but 64x48 are rendered"},
        {RENDTYPE_NORMAL, nullptr, nullptr, nullptr, "not an image"},
        {RENDTYPE_NORMAL, m_bitmap.get(), &whole, nullptr, "opened for whole images"},
        {RENDTYPE_REGION, m_bitmap.get(), nullptr, nullptr, "opened for regions"},
        {RENDTYPE_REGION, m_bitmap.get(), &outside, nullptr, "leaves the image"},
        {RENDTYPE_NORMAL, m_bitmap.get(), nullptr, small.get(), "a render element's bitmap has 64x47 pixels"},
    };
    for (const auto& [type, bitmap, region, element, reason] : cases) {
        SCOPED_TRACE(reason);
        ASSERT_EQ(1, open("Camera01", type));
        element_target()->bm = element;
        EXPECT_THAT(
            log_of([&, bitmap = bitmap, region = region] { EXPECT_EQ(0, render_into(bitmap, region)); }),
            HasSubstr(reason));
        element_target()->bm = nullptr;
        EXPECT_EQ(1, render(type == RENDTYPE_REGION ? &whole : nullptr));
    }
}

TEST_F(CoreRenderTest, OpensOnlyForOneCameraOrViewportOfAScene) {
    INode* camera = m_core.GetINodeByName("Camera01");
    ViewExp* viewport = m_core.GetActiveViewport();
    const std::string log = log_of([&] {
        EXPECT_EQ(0, open("Sun"));
        EXPECT_EQ(0, m_core.OpenCurRenderer(nullptr, nullptr, RENDTYPE_NORMAL, width, height));
        EXPECT_EQ(0, m_core.OpenCurRenderer(camera, viewport, RENDTYPE_NORMAL, width, height));
        EXPECT_EQ(0, m_core.OpenCurRenderer(camera, nullptr, 3, width, height));
        EXPECT_EQ(0, m_core.OpenCurRenderer(camera, nullptr, RENDTYPE_NORMAL, 0, height));
        m_core.FileReset(TRUE);
        EXPECT_EQ(0, m_core.OpenCurRenderer(camera, nullptr, RENDTYPE_NORMAL, width, height)) << "gone";
        json scene = small_scene();
        render_settings(scene)["rendererClassId"] = {0, 0};
        EXPECT_EQ(1, load(scene));
        EXPECT_EQ(0, open());
    });
    EXPECT_THAT(log, HasSubstr("\"Sun\" is not a camera"));
    EXPECT_THAT(log, HasSubstr("the scene's renderer is not installed"));
}

TEST_F(CoreRenderTest, AViewportShowsWhatItsCameraSees) {
    const BitmapPointer seen = make_bitmap();
    ASSERT_EQ(1, open());
    EXPECT_EQ(1, render_into(seen.get(), nullptr));
    ASSERT_EQ(1, m_core.OpenCurRenderer(nullptr, m_core.GetActiveViewport(), RENDTYPE_NORMAL, width, height));
    EXPECT_EQ(1, render());
    const float* const pixels = &seen->pixels()->r;
    EXPECT_TRUE(std::equal(pixels, pixels + std::ptrdiff_t{4} * width * height, &m_bitmap->pixels()->r));
}

TEST_F(CoreRenderTest, RendersOnlyWhileOpen) {
    EXPECT_EQ(0, render());
    m_core.CloseCurRenderer();
    ASSERT_EQ(1, open());
    EXPECT_EQ(1, render());
    m_core.CloseCurRenderer();
    EXPECT_EQ(0, render());
    ASSERT_EQ(1, open());
    ASSERT_EQ(1, load(small_scene()));
    EXPECT_EQ(0, render()) << "a load closes the renderer";
}

class ThrowingProgress final : public RendProgressCallback {
public:
    void SetTitle(const char* /*title*/) override {}
    int Progress(int /*done*/, int /*total*/) override { throw std::runtime_error("no connection"); }
};

TEST_F(CoreRenderTest, ACallbackThatThrowsFailsTheRender) {
    ASSERT_EQ(1, open());
    ThrowingProgress throwing;
    EXPECT_THAT(log_of([&] { EXPECT_EQ(0, render(nullptr, &throwing)); }), HasSubstr("no connection"));
    EXPECT_EQ(1, render());
}

TEST_F(CoreRenderTest, EachFrameFindsTheConfiguredElementNames) {
    ASSERT_EQ(1, open());
    // A script that moves the time around a frame must not take the numbered name away: the file is still to
    // be saved.
    m_core.set_render_hooks({[this] { m_core.SetTime(3 * ticks_per_frame, TRUE); }, {}});
    for (int frame = 0; frame < 2; ++frame) {
        m_core.SetTime(frame * ticks_per_frame, TRUE);
        EXPECT_STREQ("C:\\out\\depth.exr", element_target()->bi.Name());
        element_target()->bi.SetName("C:\\out\\depth0000.exr");
        EXPECT_EQ(1, render());
        EXPECT_STREQ("C:\\out\\depth0000.exr", element_target()->bi.Name());
    }
}

TEST_F(CoreRenderTest, AScriptsErrorComesOutOfTheRender) {
    struct ScriptError {};
    ASSERT_EQ(1, open());
    m_core.set_render_hooks({[] { throw ScriptError(); }, {}});
    EXPECT_THROW(render(), ScriptError);
    m_core.set_render_hooks({{}, [] { throw ScriptError(); }});
    EXPECT_THROW(render(), ScriptError);
    m_core.set_render_hooks({});
    EXPECT_EQ(1, render());
}

TEST_F(CoreRenderTest, AScriptMayCloseTheSceneAndCannotRenderWithinARender) {
    ASSERT_EQ(1, open());
    const std::string log = log_of([&] {
        int nested = -1;
        m_core.set_render_hooks({[&] { nested = render(); }, {}});
        EXPECT_EQ(1, render());
        EXPECT_EQ(0, nested);
        m_core.set_render_hooks({[&] { m_core.FileReset(TRUE); }, {}});
        EXPECT_EQ(0, render());
    });
    EXPECT_THAT(log, HasSubstr("a script closed the renderer"));
}

TEST_F(CoreRenderTest, AFaultInAScriptDoesNotLeaveTheCoreRendering) {
    ASSERT_EQ(1, open());
    m_core.set_render_hooks({[] { RaiseException(EXCEPTION_INT_OVERFLOW, 0, 0, nullptr); }, {}});
    const auto take = [](DWORD, EXCEPTION_POINTERS*, void*) { return EXCEPTION_EXECUTE_HANDLER; };
    std::function<void()> frame = [this] { render(); };
    const auto call = [](void* function) { (*static_cast<const std::function<void()>*>(function))(); };
    EXPECT_EQ(EXCEPTION_INT_OVERFLOW, seh_guarded_call(call, &frame, take, nullptr));
    m_core.set_render_hooks({});
    element_target()->bi.SetName("changed");
    m_core.SetTime(0, TRUE);
    EXPECT_STREQ("C:\\out\\depth.exr", element_target()->bi.Name());
    EXPECT_EQ(1, render());
}

}  // namespace
}  // namespace corrivane::host::test
