#include "bitmap/output_file.h"
#include "core/render_elements.h"
#include "core/render_session.h"
#include "maxscript/library/callbacks.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/references.h"
#include "maxscript/machine/signature.h"
#include "maxscript/machine/times.h"
#include "maxscript/streams/file_access.h"
#include "scripting/bitmaps.h"
#include "scripting/names.h"
#include "scripting/node_value.h"

#include <array>
#include <memory>

/// `render`: the open scene's frames, one after the other, with the callbacks around them.
namespace corrivane::host {

namespace {

ScriptedScene& open_scene() {
    return ScriptedScene::instance();
}

/// What a call of render asks for.
struct Order {
    std::vector<TimeValue> times;
    int camera = -1;
    int width = 0;
    int height = 0;
    float pixel_aspect = 1;
    /// Empty for none.
    std::string output;
};

TimeValue frame_time(Value* frame) {
    if (const auto* name = value_as<NameValue>(frame)) {
        if (name->key() == "current") return ScriptedScene::time();
        raise_runtime_error("render: this is no frame: #" + name->text());
    }
    return to_ticks(frame);
}

std::vector<TimeValue> span(TimeValue first, TimeValue last, int every_nth) {
    std::vector<TimeValue> times;
    const int step = open_scene().document().ticks_per_frame() * every_nth;
    for (std::int64_t time = first; time <= last; time += step)
        times.push_back(static_cast<TimeValue>(time));
    return times;
}

std::vector<TimeValue> times_of(const Keyword<"frame", Value*>& frame,
                                const Keyword<"fromFrame", Ticks>& from, const Keyword<"toFrame", Ticks>& to,
                                const Keyword<"nthFrame", int>& nth,
                                const Keyword<"frameRange", NameValue*>& range) {
    const Interval active = open_scene().document().animation_range();
    const int every_nth = nth.value_or(1);
    if (every_nth < 1) raise_runtime_error("render: nthFrame must be at least 1");
    if (frame) {
        if (const auto* array = value_as<ArrayValue>(*frame)) {
            std::vector<TimeValue> times;
            for (Value* one : array->elements())
                times.push_back(frame_time(one));
            return times;
        }
        return {frame_time(*frame)};
    }
    if (range) {
        if ((*range)->key() != "active")
            raise_runtime_error("render: this is no range: #" + (*range)->text());
        return span(active.Start(), active.End(), every_nth);
    }
    if (from || to)
        return span(from.value_or({active.Start()}).ticks, to.value_or({active.End()}).ticks, every_nth);
    return {ScriptedScene::time()};
}

std::string numbered(const std::string& name, TimeValue time) {
    const int frame = time / open_scene().document().ticks_per_frame();
    char text[BMM_MAX_PATH];
    if (!BMMCreateNumberedFilename(name.c_str(), frame, text))
        raise_runtime_error("render: the output's name is too long: " + name);
    return text;
}

/// Bitmaps for the elements that are written, as long as this lives.
class ElementBitmaps {
public:
    ElementBitmaps(RenderElements& elements, int width, int height) {
        if (elements.GetElementsActive() == FALSE) return;
        for (const auto& element : elements.all()) {
            PBBitmap* target = nullptr;
            element->GetPBBitmap(target);
            if (target == nullptr) continue;
            target->bm = FloatBitmap::make(width, height);
            if (target->bm != nullptr) m_targets.emplace_back(target, element->output());
        }
    }
    ~ElementBitmaps() {
        for (const auto& [target, name] : m_targets) {
            target->bm->DeleteThis();
            target->bm = nullptr;
        }
    }
    ElementBitmaps(const ElementBitmaps&) = delete;
    ElementBitmaps& operator=(const ElementBitmaps&) = delete;

    void write(TimeValue time) const {
        for (const auto& [target, name] : m_targets)
            write_picture(*dynamic_cast<FloatBitmap*>(target->bm), numbered(name, time));
    }

private:
    std::vector<std::pair<PBBitmap*, std::string>> m_targets;
};

/// The slider stands at the frame that is rendered, for the callbacks.
class FrameTime {
public:
    explicit FrameTime(TimeValue time)
        : m_document(open_scene().document().id()), m_before(open_scene().document().time()) {
        open_scene().document().set_time(time);
    }
    ~FrameTime() {
        if (open_scene().document().id() == m_document) open_scene().document().set_time(m_before);
    }
    FrameTime(const FrameTime&) = delete;
    FrameTime& operator=(const FrameTime&) = delete;

private:
    std::uint64_t m_document;
    TimeValue m_before;
};

void check_same(std::uint64_t document) {
    if (open_scene().document().id() != document)
        raise_runtime_error("render: a callback has opened another scene");
}

void render_frame(RenderSession& session, const Order& order, TimeValue time, BitmapValue& bitmap) {
    const std::uint64_t document = open_scene().document().id();
    const FrameTime slider(time);
    run_callbacks("preRenderFrame");
    check_same(document);
    RenderElements& elements = open_scene().document().elements();
    const ElementBitmaps targets(elements, order.width, order.height);
    RenderSession::Frame frame;
    frame.time = time;
    frame.bitmap = &bitmap.pixels();
    session.set_scene(open_scene().document().scene());
    begin_frame_outputs();
    session.render(frame, elements);
    if (!order.output.empty()) {
        const std::string name = order.times.size() > 1 ? numbered(order.output, time) : order.output;
        bitmap.set_file(name);
        if (!write_picture(bitmap.pixels(), name)) raise_runtime_error("render: cannot write " + name);
        targets.write(time);
    }
    run_callbacks("postRenderFrame");
    check_same(document);
}

bool& is_rendering() {
    static bool rendering = false;
    return rendering;
}

class RenderingScope {
public:
    RenderingScope() {
        if (is_rendering() || open_scene().core().is_rendering())
            raise_runtime_error("render: a frame is being rendered");
        is_rendering() = true;
    }
    ~RenderingScope() { is_rendering() = false; }
    RenderingScope(const RenderingScope&) = delete;
    RenderingScope& operator=(const RenderingScope&) = delete;
};

/// The last frame's bitmap.
Value* render(const Order& order) {
    const RenderingScope scope;
    run_callbacks("preRender");
    const RenderSettings& settings = open_scene().document().settings();
    if (open_scene().document().renderer() == nullptr)
        raise_runtime_error("render: the scene's renderer is not installed");
    RenderSession::Setup setup;
    setup.scene = open_scene().document().scene();
    setup.camera_node = order.camera;
    setup.width = order.width;
    setup.height = order.height;
    setup.pixel_aspect = order.pixel_aspect;
    setup.samples = settings.samples;
    setup.threads = open_scene().core().render_threads();
    auto session = as_script_error([&] { return std::make_unique<RenderSession>(std::move(setup)); });
    Rooted bitmap(&undefined);
    for (const TimeValue time : order.times) {
        auto* image = new BitmapValue(order.width, order.height);
        bitmap = image;
        as_script_error([&] { render_frame(*session, order, time, *image); });
    }
    run_callbacks("postRender");
    return bitmap.get();
}

int camera_index(const Keyword<"camera", Value*>& camera) {
    if (!camera || *camera == &undefined) return open_scene().document().view_camera();
    const auto& node = FromScript<NodeValue&>::from(*camera);
    if (node.node().camera < 0) raise_runtime_error("render: this node is no camera: " + node.node().name);
    return node.index();
}

}  // namespace

void define_render_function() {
    define_functions({
        {"render",
         [](const Keyword<"camera", Value*>& camera, const Keyword<"frame", Value*>& frame,
            const Keyword<"fromFrame", Ticks>& from, const Keyword<"toFrame", Ticks>& to,
            const Keyword<"nthFrame", int>& nth, const Keyword<"frameRange", NameValue*>& range,
            const Keyword<"outputWidth", int>& width, const Keyword<"outputHeight", int>& height,
            const Keyword<"outputSize", Imath::V2f>& size, const Keyword<"pixelAspect", float>& aspect,
            const Keyword<"outputFile", std::string>& file,
            const Keyword<"cancelled", ReferenceValue*>& cancelled, const Keyword<"vfb", bool>&,
            const Keyword<"quiet", bool>&, const Keyword<"progressBar", bool>&) {
             const RenderSettings& settings = open_scene().document().settings();
             Order order;
             order.times = times_of(frame, from, to, nth, range);
             order.camera = camera_index(camera);
             order.width = size ? static_cast<int>((*size).x) : width.value_or(settings.width);
             order.height = size ? static_cast<int>((*size).y) : height.value_or(settings.height);
             order.pixel_aspect = aspect.value_or(settings.pixel_aspect);
             order.output = file.value_or("");
             if (!order.output.empty()) check_file_access();
             const Rooted result(render(order));
             if (cancelled) (*cancelled)->set(make_boolean(false));
             return result.get();
         }},
    });
}

}  // namespace corrivane::host
