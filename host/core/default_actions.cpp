#include "core/default_actions.h"

namespace corrivane::host {

void DefaultActions::SetDefaultAction(int kind, int action, const void* /*argument*/, const void* /*owner*/) {
    if (known(kind)) {
        m_actions[static_cast<std::size_t>(kind)] = action;
    }
}

void DefaultActions::GetDefaultAction(int kind, int& action) const {
    if (known(kind)) {
        action = m_actions[static_cast<std::size_t>(kind)];
    }
}

LoadOptions DefaultActions::load_options() const {
    LoadOptions options;
    options.external_files = action_for(MissingKind::external_file);
    options.plugins = action_for(MissingKind::plugin);
    options.xrefs = action_for(MissingKind::xref);
    options.texture_coordinates = action_for(MissingKind::texture_coordinates);
    return options;
}

MissingAction DefaultActions::action_for(MissingKind kind) const {
    return m_actions[static_cast<std::size_t>(kind)] == DEFAULT_ACTION_IGNORE ? MissingAction::go_on
                                                                              : MissingAction::fail;
}

}  // namespace corrivane::host
