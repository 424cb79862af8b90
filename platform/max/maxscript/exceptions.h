#pragma once

#include <string>

class CharStream;

/// The base of the errors that the MAXScript runtime throws. Caught by reference.
class MAXScriptException {
public:
    virtual ~MAXScriptException() = default;
    /// Writes the error's printed description.
    virtual void sprin1(CharStream* stream) = 0;
};

/// An error at run time, with its message.
class RuntimeError : public MAXScriptException {
public:
    explicit RuntimeError(const char* message);
    void sprin1(CharStream* stream) override;

protected:
    std::string m_message;
};
