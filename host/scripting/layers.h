#pragma once

#include "scripting/node_value.h"

#include <string>

namespace corrivane::host {

extern const ValueMetaClass Layer_class;

/// A layer of the open scene; `layerManager` hands them out.
class LayerValue final : public TabledValue<LayerValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Layer_class;
    static const PropertyTable<LayerValue>& properties();

    explicit LayerValue(int index) : m_document(ScriptedScene::instance().document().id()), m_index(index) {}

    /// A MAXScript error when the layer is gone.
    int index() const;
    LayerRecord& record() const;
    KeptSettings& kept() { return record().kept; }
    std::vector<int> nodes() const;

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    bool equals(Value* other) override;

private:
    std::uint64_t m_document;
    int m_index;
};

}  // namespace corrivane::host
