#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class CharStream;

/// What lives on the MAXScript heap. Made with `new`, which takes the memory from that heap; never deleted:
/// the collector takes what no root reaches. Roots are the chain of local-value frames (thread_locals.h), the
/// current result of each thread and the runtime's own globals.
class Collectable {
public:
    Collectable() = default;
    Collectable(const Collectable&) = delete;
    Collectable& operator=(const Collectable&) = delete;

    /// Memory for one object; may collect first. Throws std::bad_alloc.
    static void* heap_alloc(std::size_t size);
    static void heap_free(void* memory);

    static void* operator new(std::size_t size) { return heap_alloc(size); }
    static void operator delete(void* memory) { heap_free(memory); }

    /// Marks what this object refers to, through gc_mark.
    virtual void gc_trace() {}
    /// Keeps an object, and what it refers to, through the collection that is under way; null is passed over.
    static void gc_mark(Collectable* object);

protected:
    virtual ~Collectable() = default;
    /// How the heap ends an object's life.
    static void destroy(Collectable* object) { object->~Collectable(); }
};

/// A MAXScript class; compared by address.
struct ValueMetaClass {
    const char* name;
};

extern const ValueMetaClass Boolean_class;
extern const ValueMetaClass Ok_class;
extern const ValueMetaClass Undefined_class;
extern const ValueMetaClass String_class;

/// Anything that MAXScript code can name, hold or be.
class Value : public Collectable {
public:
    virtual const ValueMetaClass& value_class() const = 0;
    bool is(const ValueMetaClass& wanted) const { return &value_class() == &wanted; }

    /// Runs compiled code and returns its result; any other value is its own result.
    virtual Value* eval() { return this; }
    /// The text of a value that has one; otherwise a MAXScriptException that names the value. The text stays
    /// the value's. Null is a possible answer.
    virtual const char* to_string();
    /// The truth of a Boolean; otherwise a MAXScriptException that names the value.
    virtual bool to_bool();
    /// Writes the printed form, the one that the Listener shows, without an end of line.
    virtual void sprin1(CharStream* stream) = 0;

protected:
    ~Value() override = default;
};

/// A text on the MAXScript heap.
class String : public Value {
public:
    /// Copies a zero-terminated text.
    explicit String(const char* text);
    /// Copies `size` characters, zeros among them.
    String(const char* text, std::size_t size);
    ~String() override;

    const ValueMetaClass& value_class() const override { return String_class; }
    const char* to_string() override;
    void sprin1(CharStream* stream) override;
    std::size_t size() const;
    /// Puts a text in the place of some of the characters.
    void replace(std::size_t first, std::size_t count, const std::string& text);

private:
    struct Text;
    Text* m_text;
};

/// The one value of Ok_class: a finished evaluation with nothing to return. Not on the heap.
extern Value& ok;
/// The one value of Undefined_class.
extern Value& undefined;
