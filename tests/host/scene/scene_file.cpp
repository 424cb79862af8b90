#include "host/scene/scene_file.h"

namespace corrivane::host::test {

namespace {

/// Buffer 0 of the document.
constexpr struct {
    float corners[15] = {0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 1};
    std::uint16_t indices[4] = {0, 1, 2, 3};
    float keys[8] = {0, 1, 0, 0, 0, 4, 0, 0};
} buffer;

std::string word(std::size_t value) {
    const auto number = static_cast<std::uint32_t>(value);
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

}  // namespace

const std::string small_png(
    "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\1\0\0\0\1\b\0\0\0\0:~\x9bU\0\0\0\nIDATx\xda"
    "c`\0\0\0\2\0\1\xe5'\xde\xfc\0\0\0\0IEND\xae"
    "B`\x82",
    67);

Json SceneFile::read_cases(const std::string& name) {
    return Json::parse(corrivane::test::read_file(CORRIVANE_SCENE_CASES "/" + name));
}

void SceneFile::change(const std::string& at, const Json& value) {
    const Json::json_pointer place(at.substr(at[0] == '-' ? 1 : 0));
    if (at[0] != '-') {
        json[place] = value;
    } else {
        json[place.parent_pointer()].erase(place.back());
    }
}

std::shared_ptr<const Scene> SceneFile::load(const LoadOptions& options) const {
    write_file(path(), json.dump());
    return load_scene(path(), options);
}

std::string SceneFile::glb() const {
    Json document = json;
    document["buffers"][0].erase("uri");
    std::string text = document.dump();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    const std::string binary(reinterpret_cast<const char*>(&buffer), sizeof buffer);
    const std::string chunks =
        word(text.size()) + "JSON" + text + word(binary.size()) + std::string("BIN\0", 4) + binary;
    return "glTF" + word(2) + word(12 + chunks.size()) + chunks;
}

}  // namespace corrivane::host::test
