#include "maxscript/text_sink.h"

#include "maxscript/values.h"

namespace corrivane::host {

const ValueMetaClass& TextSink::value_class() const {
    return StringStream_class;
}

void TextSink::sprin1(CharStream* stream) {
    stream->write(m_text.data(), m_text.size());
}

}  // namespace corrivane::host
