#include "maxscript/machine/text_sink.h"

#include "maxscript/machine/values.h"

namespace corrivane::host {

const ValueMetaClass& TextSink::value_class() const {
    return StringStream_class;
}

void TextSink::sprin1(CharStream* stream) {
    stream->write(m_text.data(), m_text.size());
}

std::string printed_form(Value* value) {
    TextSink sink;
    value->sprin1(&sink);
    return sink.text();
}

}  // namespace corrivane::host
