#pragma once

#include <string>
#include <string_view>
#include <vector>

// Pieces of HTML. What these take as text comes from anywhere; what they return can stand in an element or in an
// attribute between double quotes.
namespace corrivane::worker {

/// Text as HTML. Control characters but tabs and line feeds become question marks.
std::string escaped(std::string_view text);

/// A link to a file of this machine, or the text alone where it is not known.
std::string file_link(const std::string& path, std::string_view text);

/// The address of an image that stands in the page.
std::string jpeg_address(const std::vector<unsigned char>& bytes);

}  // namespace corrivane::worker
