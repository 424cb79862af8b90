// Lines of text files that are written byte by byte.
#pragma once

#include <string>

// Ends the text's lines, which end in line feeds, as the system's text streams do: on Windows by a carriage return and
// a line feed, elsewhere they stay as they are.
void end_lines_as_text_streams_do(std::string& text);
