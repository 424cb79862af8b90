#include "core/render_elements.h"

#include "maxscript/machine/globals.h"
#include "maxscript/machine/signature.h"
#include "scripting/names.h"
#include "scripting/rows.h"
#include "scripting/scripted_scene.h"

#include <max/maxscript/streams.h>

#include <array>

namespace corrivane::host {

namespace {

/// The classes of elements that this host renders.
struct ElementClass {
    ValueMetaClass value_class;
    ElementType type;
};
constexpr std::array<ElementClass, 5> element_classes{
    {{{"ZRenderElement"}, ElementType::depth},
     {{"alphaRenderElement"}, ElementType::alpha},
     {{"normalsRenderElement"}, ElementType::normal},
     {{"albedoRenderElement"}, ElementType::albedo},
     {{"ambientOcclusionRenderElement"}, ElementType::ambient_occlusion}}};

const ValueMetaClass& class_of(ElementType type) {
    for (const ElementClass& known : element_classes)
        if (known.type == type) return known.value_class;
    return element_classes.front().value_class;
}

const ValueMetaClass Element_class{"RenderElement"};

RenderElements& elements() {
    return ScriptedScene::instance().document().elements();
}

/// A render element: one of the open scene, or one that waits for addRenderElement.
class ElementValue final : public TabledValue<ElementValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Element_class;
    static const PropertyTable<ElementValue>& properties();

    ElementValue(HostRenderElement& element)
        : m_document(ScriptedScene::instance().document().id()), m_element(&element) {}
    explicit ElementValue(ElementType type)
        : m_own(std::make_unique<HostRenderElement>(RenderElementSettings{type, {}})),
          m_element(m_own.get()) {}

    HostRenderElement& element() const {
        if (m_own == nullptr && ScriptedScene::instance().document().id() != m_document)
            raise_runtime_error("Attempt to access deleted render element");
        return *m_element;
    }
    /// Makes it one of the open scene's; false when it is already.
    bool join() {
        if (m_own == nullptr) return false;
        HostRenderElement& added = elements().add({m_own->type(), m_own->output()});
        added.set_name(m_own->name());
        added.set_enabled(m_own->is_enabled());
        m_element = &added;
        m_own.reset();
        m_document = ScriptedScene::instance().document().id();
        return true;
    }
    KeptSettings& kept() { return m_kept; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    const ValueMetaClass& shown_class() const override { return class_of(element().type()); }
    void sprin1(CharStream* stream) override {
        stream->puts((element().name() + ":" + shown_class().name).c_str());
    }
    bool equals(Value* other) override {
        const auto* same = value_as<ElementValue>(other);
        return same != nullptr && same->m_element == m_element;
    }

private:
    std::uint64_t m_document = 0;
    std::unique_ptr<HostRenderElement> m_own;
    HostRenderElement* m_element;
    KeptSettings m_kept;
};

const PropertyTable<ElementValue>& ElementValue::properties() {
    static const PropertyTable<ElementValue> table{
        property(
            "elementName", [](ElementValue& value) { return value.element().name(); },
            [](ElementValue& value, const std::string& name) { value.element().set_name(name); }),
        property(
            "enabled", [](ElementValue& value) { return value.element().is_enabled(); },
            [](ElementValue& value, bool on) { value.element().set_enabled(on); }),
        host::kept<ElementValue>("filterOn", true),
        host::kept<ElementValue>("bitmap", std::string()),
        absent<ElementValue>("zMin", "depth within limits; depth is a distance"),
        absent<ElementValue>("zMax", "depth within limits; depth is a distance"),
    };
    return table;
}

/// Counted from 0, unlike the rest of MAXScript.
HostRenderElement& element_at(int number) {
    const auto& all = elements().all();
    if (number < 0 || static_cast<std::size_t>(number) >= all.size())
        raise_runtime_error("there is no render element " + std::to_string(number) + "; there are " +
                            std::to_string(all.size()));
    return *all[static_cast<std::size_t>(number)];
}

Value* get_element(int number) {
    if (number < 0 || number >= elements().NumRenderElements()) return &undefined;
    return new ElementValue(element_at(number));
}

bool remove_element(ElementValue& element) {
    return elements().remove(element.element());
}

void remove_all() {
    while (!elements().all().empty())
        elements().remove(*elements().all().back());
}

Value* manager() {
    return global("renderElementMgr").get();
}

}  // namespace

void define_render_element_functions() {
    define_functions({
        {"renderElementMgr.numRenderElements", [] { return elements().NumRenderElements(); }},
        {"renderElementMgr.getRenderElement", get_element},
        {"renderElementMgr.addRenderElement", [](ElementValue& element) { return element.join(); }},
        {"renderElementMgr.removeRenderElement", remove_element},
        {"renderElementMgr.removeAllRenderElements", remove_all},
        {"renderElementMgr.getElementsActive", [] { return elements().GetElementsActive() != FALSE; }},
        {"renderElementMgr.setElementsActive", [](bool active) { elements().set_active(active); }},
        {"renderElementMgr.getRenderElementFilename", [](int number) { return element_at(number).output(); }},
        {"renderElementMgr.setRenderElementFilename",
         [](int number, const std::string& name) { element_at(number).set_output(name); }},
        {"renderElementMgr.getDisplayElements", [] { return false; }},
        {"renderElementMgr.setDisplayElements",
         [](bool shown) {
             if (shown) raise_absent("user interface");
         }},
        {"maxOps.getCurRenderElementMgr", manager},
        {"maxOps.getRenderElementMgr", [](Value*) { return manager(); }},
    });
    for (const ElementClass& known : element_classes)
        define_class(
            known.value_class,
            {known.value_class.name, [type = known.type](const Keyword<"elementName", std::string>& name) {
                 auto* made = new ElementValue(type);
                 if (name) made->element().set_name(*name);
                 return made;
             }});
    for (const char* name :
         {"diffuseRenderElement", "specularRenderElement", "shadowRenderElement", "reflectionRenderElement",
          "refractionRenderElement", "selfIllumRenderElement", "atmosphereRenderElement",
          "backgroundRenderElement", "BlendRenderElement", "Lighting", "Object_ID", "Material_ID",
          "velocityRenderElement", "MatteRenderElement", "Ink_RenderElement", "Paint_RenderElement"})
        define_absent(name, "render element of this class");
}

}  // namespace corrivane::host
