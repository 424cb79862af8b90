#pragma once

#include "maxscript/machine/values.h"
#include "scripting/scripted_scene.h"

#include <cstdint>

namespace corrivane::host {

extern const ValueMetaClass Material_class;
extern const ValueMetaClass BitmapTexture_class;

/// A material of the open scene, as 3ds Max's physical material: prints as `steel:PhysicalMaterial`.
class MaterialValue final : public TabledValue<MaterialValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Material_class;
    static const PropertyTable<MaterialValue>& properties();

    explicit MaterialValue(int index)
        : m_document(ScriptedScene::instance().document().id()), m_index(index) {}

    /// A MAXScript error when its scene is no longer open.
    int index() const;
    const Material& material() const;
    KeptSettings& kept() { return ScriptedScene::instance().kept_of_material(index()); }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    bool equals(Value* other) override;

private:
    std::uint64_t m_document;
    int m_index;
};

/// A texture of the open scene: what a material's map is.
class TextureValue final : public TabledValue<TextureValue> {
public:
    static constexpr const ValueMetaClass& metaclass = BitmapTexture_class;
    static const PropertyTable<TextureValue>& properties();

    explicit TextureValue(int index)
        : m_document(ScriptedScene::instance().document().id()), m_index(index) {}

    int index() const;
    const TextureImage& image() const;
    /// The image's file as a Windows path; empty where the scene's file holds it.
    std::string file_name() const;

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    bool equals(Value* other) override;

private:
    std::uint64_t m_document;
    int m_index;
};

}  // namespace corrivane::host
