#pragma once

// What nearly every test includes.
#include "support/message_of.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corrivane::test {

using Texts = std::vector<std::string>;

}  // namespace corrivane::test
