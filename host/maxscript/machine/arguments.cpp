#include "maxscript/machine/arguments.h"

#include "maxscript/machine/conversions.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/values.h"

#include <algorithm>

namespace corrivane::host {

Value* Arguments::keyword(std::string_view name) const {
    for (std::size_t i = 0; i < m_keyword_count; ++i)
        if (*m_keywords[i].name == name) return m_keywords[i].value;
    return nullptr;
}

void Arguments::require(std::size_t least, std::size_t most) const {
    if (m_count >= least && m_count <= most) return;
    std::string wanted = std::to_string(least);
    if (most == SIZE_MAX) {
        wanted += " or more";
    } else if (most != least) {
        wanted += " to " + std::to_string(most);
    }
    raise_argument_count(m_function, wanted, m_count);
}

void Arguments::require_known(std::initializer_list<const char*> names) const {
    for (std::size_t i = 0; i < m_keyword_count; ++i) {
        const std::string& given = *m_keywords[i].name;
        const bool known = std::any_of(names.begin(), names.end(), [&](const char* name) {
            return name != nullptr && lower_case(name) == given;
        });
        if (!known) raise_runtime_error(m_function + " has no keyword parameter " + given + ":");
    }
}

Value* Arguments::required(std::size_t index) const {
    if (index >= m_count) raise_argument_count(m_function, std::to_string(index + 1) + " or more", m_count);
    return m_values[index];
}

int Arguments::integer(std::size_t index) const {
    return to_integer(required(index));
}

float Arguments::number(std::size_t index) const {
    return to_float(required(index));
}

bool Arguments::boolean(std::size_t index) const {
    return to_boolean(required(index));
}

std::string Arguments::text(std::size_t index) const {
    return to_text(required(index));
}

}  // namespace corrivane::host
