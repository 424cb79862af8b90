#pragma once

#include <max/maxscript/exceptions.h>
#include <max/maxscript/parser.h>
#include <max/maxscript/streams.h>
#include <max/maxscript/thread_locals.h>
#include <max/maxscript/value.h>
