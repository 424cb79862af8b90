#include "maxscript/machine/signature.h"

#include <map>
#include <string_view>

namespace corrivane::host {

namespace {

using Rows = std::vector<Builtin>;

Value* call_fitting(const Rows& rows, Arguments& arguments) {
    if (arguments.count() == 0) return rows.front().function(arguments);
    for (const Builtin& row : rows)
        if (row.accepts(arguments[0])) return row.function(arguments);
    raise_no_function(arguments.function(), arguments[0]);
}

}  // namespace

void define_class(const ValueMetaClass& described, const Builtin& maker) {
    define_constant(described.name, new ClassValue(described, maker.function));
}

void define_functions(const std::vector<Builtin>& table) {
    std::map<std::string_view, Rows> by_name;
    for (const Builtin& row : table)
        by_name[row.name].push_back(row);
    for (auto& [name, rows] : by_name) {
        if (rows.size() == 1) {
            define_function(std::string(name), rows.front().function);
        } else {
            define_function(std::string(name), [rows = std::move(rows)](Arguments& arguments) {
                return call_fitting(rows, arguments);
            });
        }
    }
}

}  // namespace corrivane::host
