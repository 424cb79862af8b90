#include "maxscript/machine/overloads.h"

#include "maxscript/machine/functions.h"
#include "maxscript/machine/globals.h"

namespace corrivane::host {

void define_overloads(const std::vector<Builtin>& table) {
    for (const Builtin& row : table) {
        const std::string name = row.name;
        // Kept under a name that no script can write.
        const std::string others = name + " of others than " + std::to_string(&row - table.data());
        Value* before = global(name).known() ? global(name).get() : &undefined;
        global(others).define_constant(before);
        define_function(name, [row, others](Arguments& arguments) {
            if (arguments.count() > 0 && row.accepts(arguments[0])) return row.function(arguments);
            const Rooted other(global(others).get());
            if (other.get() == &undefined && arguments.count() > 0)
                raise_no_function(arguments.function(), arguments[0]);
            return call_value(other.get(), arguments);
        });
    }
}

}  // namespace corrivane::host
