// What the product uses of Boost.Filesystem where that has no compiled library: the error without paths. Its text is
// the one that the library gives.
#pragma once

#include <boost/system/system_error.hpp>

#include <string>

namespace boost::filesystem {

class filesystem_error : public system::system_error {
public:
    filesystem_error(const std::string& what, system::error_code code) : system_error(code, what) {}
};

}  // namespace boost::filesystem
