#include "maxscript/machine/errors.h"
#include "maxscript/machine/heap.h"
#include "maxscript/machine/values.h"
#include "maxscript/streams/file_access.h"
#include "maxscript/streams/text_reader.h"

#include <max/maxscript/streams.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

using corrivane::host::raise_runtime_error;

/// The file behind a stream: read as a whole when it is opened, written piece by piece. What is both is written to
/// the text that was read, too.
struct FileStream::File {
    enum class State { unopened, failed, open, closed };
    /// What an open file counts as: more than its buffer, so that files which scripts forget to close are
    /// collected before the process has no descriptors left.
    static constexpr std::size_t output_bytes = 16384;

    ~File() {
        if (output != nullptr) std::fclose(output);
    }

    void close() {
        // What has been written may have been buffered until now.
        const int error = output != nullptr && std::fclose(output) != 0 ? errno : 0;
        output = nullptr;
        held.update(0);
        reader.clear();
        if (state == State::open) state = State::closed;
        if (error != 0) raise_not_written(error);
    }

    void open(const std::string& mode) {
        state = State::failed;
        const auto wanted = corrivane::host::FileMode::from(mode);
        if (!wanted) {
            failure = "the mode \"" + mode + "\" is not known";
            return;
        }
        use = *wanted;
        if (use.writes) {
            held.update(output_bytes);
            output = corrivane::host::open_for_writing(name, use, failure);
            if (output == nullptr) return;
        }
        if (use.reads && !corrivane::host::read_file(name, failure, reader)) return;
        state = State::open;
    }

    corrivane::host::TextReader& readable() {
        if (state == State::open && use.reads) return reader;
        if (state == State::failed) raise_runtime_error("Unable to open file: " + name + ": " + failure);
        if (state == State::unopened) raise_runtime_error("The file stream has not been opened");
        raise_runtime_error(
            (state == State::closed ? "The file is closed: " : "The file is open for writing: ") + name);
    }

    void write(const char* text, std::size_t size) {
        if (state != State::open || !use.writes)
            raise_runtime_error("The file is not open for writing: " + name);
        if (use.reads) {
            if (use.appends) reader.seek(reader.text().size());
            if (std::fseek(output, static_cast<long>(reader.position()), SEEK_SET) != 0)
                raise_not_written(errno);
            reader.overwrite(text, size);
        }
        if (std::fwrite(text, 1, size, output) != size) raise_not_written(errno);
    }

    [[noreturn]] void raise_not_written(int error) const {
        raise_runtime_error("Unable to write to file: " + name + ": " + std::strerror(error));
    }

    State state = State::unopened;
    corrivane::host::FileMode use;
    std::string name;
    std::string failure;
    corrivane::host::TextReader reader;
    std::FILE* output = nullptr;
    corrivane::host::HeldBytes held;
};

FileStream::FileStream() : m_file(new File) {}

FileStream::~FileStream() {
    delete m_file;
}

FileStream* FileStream::open(const char* fileName, const char* mode) {
    m_file->close();
    m_file->name = fileName;
    m_file->open(mode);
    return m_file->state == File::State::failed ? nullptr : this;
}

const ValueMetaClass& FileStream::value_class() const {
    return corrivane::host::FileStream_class;
}

void FileStream::sprin1(CharStream* stream) {
    stream->puts(("<File:" + m_file->name + ">").c_str());
}

void FileStream::puts(const char* text) {
    write(text, std::strlen(text));
}

void FileStream::write(const char* text, std::size_t size) {
    m_file->write(text, size);
}

int FileStream::get_char() {
    return m_file->readable().get();
}

void FileStream::unget_char() {
    m_file->readable().unget();
}

bool FileStream::at_eos() {
    return m_file->readable().at_end();
}

void FileStream::flush_whitespace() {
    m_file->readable().skip_whitespace();
}

std::ptrdiff_t FileStream::tell() {
    if (m_file->state == File::State::open && !m_file->use.reads) return std::ftell(m_file->output);
    return static_cast<std::ptrdiff_t>(m_file->readable().position());
}

bool FileStream::seek(std::ptrdiff_t place) {
    if (m_file->state == File::State::open && !m_file->use.reads)
        return !m_file->use.appends && std::fseek(m_file->output, place, SEEK_SET) == 0;
    m_file->readable().seek(static_cast<std::size_t>(place));
    return true;
}

void FileStream::flush() {
    if (m_file->output != nullptr && std::fflush(m_file->output) != 0) m_file->raise_not_written(errno);
}

void FileStream::close() {
    m_file->close();
}

SourcePosition FileStream::position() const {
    return {m_file->name, m_file->reader.line()};
}
