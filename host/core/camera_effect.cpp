#include "core/camera_effect.h"

#include "bitmap/float_bitmap.h"
#include "core/class_ids.h"
#include "core/scene_nodes.h"
#include "core/units.h"
#include "core/view_params.h"
#include "render/multipass.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace corrivane::host {

namespace {

void average_in(BMM_Color_fl& mean, const BMM_Color_fl& sample, float weight) {
    mean.r += (sample.r - mean.r) * weight;
    mean.g += (sample.g - mean.g) * weight;
    mean.b += (sample.b - mean.b) * weight;
    mean.a += (sample.a - mean.a) * weight;
}

}  // namespace

Class_ID CameraEffect::ClassID() const {
    if (m_effect.class_id) {
        return to_class_id(*m_effect.class_id);
    }
    return m_effect.kind == MultipassEffect::Kind::motion_blur ? motion_blur_class : depth_of_field_class;
}

int CameraEffect::TotalPasses(TimeValue /*time*/) const {
    return m_effect.passes;
}

ViewParams* CameraEffect::Apply(INode* cameraNode, Object* /*cameraObject*/, int pass, TimeValue& time) {
    const auto* node = dynamic_cast<const HostNode*>(cameraNode);
    if (node == nullptr || !node->is_camera() || m_effect.passes == 1 || pass < 0 ||
        pass >= m_effect.passes) {
        return nullptr;
    }
    if (m_effect.kind == MultipassEffect::Kind::motion_blur) {
        const int ticks_per_frame = ticks_per_second / m_settings.frame_rate;
        const std::int64_t moved =
            time + std::int64_t{std::llround(multipass_frame_offset(m_effect, pass) * ticks_per_frame)};
        time = static_cast<TimeValue>(std::clamp<std::int64_t>(moved, std::numeric_limits<TimeValue>::min(),
                                                               std::numeric_limits<TimeValue>::max()));
        return nullptr;
    }
    View view = camera_view(*m_scene, pose_at(*m_scene, to_seconds(time)), node->index());
    view.camera_to_world = multipass_camera(m_effect, view.camera_to_world, pass);
    m_view = to_view_params(view, image_aspect(m_settings));
    return &m_view;
}

void CameraEffect::AccumulateBitmap(Bitmap* destination, const Bitmap* source, int pass, TimeValue /*time*/) {
    auto* mean = dynamic_cast<FloatBitmap*>(destination);
    const auto* sample = dynamic_cast<const FloatBitmap*>(source);
    if (mean == nullptr || sample == nullptr || mean->Width() != sample->Width() ||
        mean->Height() != sample->Height() || pass < 0) {
        return;
    }
    const std::size_t count =
        static_cast<std::size_t>(mean->Width()) * static_cast<std::size_t>(mean->Height());
    if (pass == 0) {
        std::copy_n(sample->pixels(), count, mean->pixels());
        return;
    }
    const float weight = 1.0F / static_cast<float>(pass + 1);
    for (std::size_t i = 0; i < count; ++i) {
        average_in(mean->pixels()[i], sample->pixels()[i], weight);
    }
}

}  // namespace corrivane::host
