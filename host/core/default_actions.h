#pragma once

#include "scene/load_scene.h"

#include <max/core_interface.h>

#include <array>

namespace corrivane::host {

/// What happens when a scene misses something: DEFAULT_ACTION_IGNORE for each kind until somebody
/// says otherwise.
class DefaultActions final : public IDefaultActionSystem {
public:
    /// An unknown kind is passed over. Any action but DEFAULT_ACTION_IGNORE makes the load fail.
    void SetDefaultAction(int kind, int action, const void* argument, const void* owner) override;
    /// Leaves `action` alone for an unknown kind.
    void GetDefaultAction(int kind, int& action) const override;

    /// The actions as the loader takes them.
    LoadOptions load_options() const;

private:
    static constexpr int kind_count = 4;

    static bool known(int kind) { return kind >= 1 && kind <= kind_count; }
    MissingAction action_for(MissingKind kind) const;

    /// By kind; the kinds count from 1.
    std::array<int, kind_count + 1> m_actions = {DEFAULT_ACTION_IGNORE, DEFAULT_ACTION_IGNORE,
                                                 DEFAULT_ACTION_IGNORE, DEFAULT_ACTION_IGNORE,
                                                 DEFAULT_ACTION_IGNORE};
};

}  // namespace corrivane::host
