#pragma once

#include <string>

namespace corrivane {

/// An output's name with a frame's number, of at least four digits, in front of the extension: `beauty.png` and
/// 7 make `beauty0007.png`, -3 makes `beauty-0003.png`.
std::string numbered_name(std::string name, int frame);

}  // namespace corrivane
