#include "app/host_options.h"
#include "app/script_globals.h"
#include "images/image_module.h"
#include "script_fixture.h"
#include "support/scene_file.h"
#include "support/script_examples.h"
#include "support/temporary_folder.h"

#include <system/drive_map.h>

namespace corrivane::host {

namespace {

/// Documents of cases/, each run from top to bottom beside the small scene, which is `C:\scenes\scene.gltf`.
class SceneCasesTest : public ScriptTest {
protected:
    void run(const std::string& document) {
        const auto examples = test::read_script_examples(CORRIVANE_SCENE_CASES "/" + document);
        const test::TemporaryFolder folder;
        set_image_module_path(CORRIVANE_IMAGE_MODULE);
        map_drive('C', folder.path().string());
        test::save_scene(test::small_scene(), folder.path() / "scenes");
        std::filesystem::create_directory(folder.path() / "out");
        define_script_globals(Core::instance(), {});
        ASSERT_EQ(Core::instance().LoadFromFile("C:\\scenes\\scene.gltf", 0), 1);
        for (const test::ScriptExample& example : examples) {
            SCOPED_TRACE(document + ", line " + std::to_string(example.line));
            expect({{example.script, example.outcome}});
        }
        Core::instance().FileReset(TRUE);
        clear_drive_map();
    }
};
CORRIVANE_SCRIPT_TEST(SceneCasesTest);

TEST_P(SceneCasesTest, Scene) {
    run("scene.md");
}

TEST_P(SceneCasesTest, Rendering) {
    run("rendering.md");
}

}  // namespace

}  // namespace corrivane::host
