#pragma once

#include "worker/job/frame_list.h"

#include <string>
#include <vector>

namespace corrivane::worker {

/// What a host tells of a scene without rendering it. Names of outputs are the scene's own.
struct SceneDescription {
    struct Element {
        std::string type;
        std::string output;  // empty: it is not written
    };
    struct Missing {
        std::string kind;  // files, uvws, dlls or xrefs, as --ignore-missing has them
        std::string name;
    };

    std::string host_version;
    std::vector<std::string> cameras;
    std::string active_view;  // a camera; empty: a view that frames the scene
    FrameRange range;
    int frame_rate = 0;
    int width = 0;
    int height = 0;
    std::string output;
    bool saves_file = true;
    bool skips_existing_frames = false;
    bool splits_alpha = false;  // of TGA files
    bool elements_active = true;
    std::vector<Element> elements;
    std::string renderer_class_id;  // two words; empty for the host's own renderer
    bool renderer_installed = true;
    std::vector<int> renderer_requirements;
    std::vector<Missing> missing;

    std::string json;  // as the host wrote it
};

}  // namespace corrivane::worker
