#include "maxscript/machine/heap.h"

#include "maxscript/machine/thread_state.h"
#include "script_fixture.h"
#include "support/sanitizers.h"

#include <csetjmp>
#include <thread>

namespace corrivane::host {

namespace {

using HeapTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(HeapTest);

std::size_t live_objects() {
    collect_garbage();
    return heap_statistics().objects;
}

/// Counts the objects of its class that are alive.
class Tracked final : public Value {
public:
    explicit Tracked(int& alive) : m_alive(alive) { ++m_alive; }
    ~Tracked() override { --m_alive; }

    const ValueMetaClass& value_class() const override { return Undefined_class; }
    void sprin1(CharStream* stream) override { stream->puts("tracked"); }

private:
    int& m_alive;
};

/// A frame of slots as a library pushes it.
struct LibraryFrame {
    explicit LibraryFrame(Value* value) : frame{1, thread_state().locals.current_locals_frame}, slot(value) {
        thread_state().locals.current_locals_frame = &frame;
    }
    ~LibraryFrame() { thread_state().locals.current_locals_frame = frame.previous; }

    ValueLocalsFrame frame;
    Value* slot;
};

TEST_P(HeapTest, TakesWhatNoRootReaches) {
    int alive = 0;
    {
        const LibraryFrame frame(new Tracked(alive));
        const Rooted rooted(new Tracked(alive));
        thread_state().locals.current_result = new Tracked(alive);
        define_constant("kept_by_name", new Tracked(alive));
        collect_garbage();
        EXPECT_EQ(alive, 4);
    }
    collect_garbage();
    EXPECT_EQ(alive, 2);
    thread_state().locals.current_result = nullptr;
    define_constant("kept_by_name", &undefined);
    collect_garbage();
    EXPECT_EQ(alive, 0);
}

TEST_P(HeapTest, KeepsAnObjectThatIsBeingBuilt) {
    // The memory of the array is taken before the string that its constructor's argument is.
    struct Holder final : Value {
        explicit Holder(Value* value) : held(value) {}
        const ValueMetaClass& value_class() const override { return Undefined_class; }
        void sprin1(CharStream*) override {}
        void gc_trace() override { gc_mark(held); }
        Value* held;
    };
    auto* holder = new Holder(new String("held"));
    const Rooted root(holder);
    collect_garbage();
    EXPECT_STREQ(holder->held->to_string(), "held");
}

TEST_P(HeapTest, LeavesNothingBehindWhenScriptsEnd) {
    value_of("warm = undefined");
    const std::size_t before = live_objects();
    value_of("(local a = #(); for i = 1 to 200 do append a (i as string); a.count)");
    error_of("(local a = #(\"x\"); a[1].missing)");
    EXPECT_EQ(live_objects(), before);
    value_of("warm = for i = 1 to 200 collect (1000000 + i)");
    EXPECT_GE(live_objects(), before + 200);
    value_of("warm = undefined");
    EXPECT_EQ(live_objects(), before);
}

TEST_P(HeapTest, CodeThatHasRunIsCollectedInTime) {
    set_gc_stress(false);
    // Next to no values: the memory is the code's.
    std::string text = "true";
    for (int i = 0; i < 200; ++i)
        text += " and true";
    const std::size_t before = heap_statistics().collections;
    for (int i = 0; i < 200; ++i)
        run_text(text);
    EXPECT_GT(heap_statistics().collections, before);
}

TEST_P(HeapTest, CollectsDeepStructuresWithoutTheStack) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer's own stack of calls is full before the real one";
    set_gc_stress(false);
    value_of("deep = #(); for i = 1 to 300000 do deep = #(deep)");
    collect_garbage();
    EXPECT_GE(heap_statistics().objects, 300000U);
    EXPECT_NE(error_of("deep as string").find("stack overflow"), std::string::npos);
    value_of("deep = undefined");
    collect_garbage();
    EXPECT_LT(heap_statistics().objects, 10000U);
}

TEST_P(HeapTest, EndsScriptsThatWantMoreThanTheLimit) {
    const std::size_t most = std::size_t{64} << 20;
    set_heap_limit(most);
    EXPECT_EQ(error_of("s = \"0123456789\"; while true do s += s"), "-- Runtime error: Out of memory");
    EXPECT_EQ(error_of("a = #(); a[2000000000] = 1"), "-- Runtime error: Out of memory");
    expect({{"try (a[2000000000] = 1) catch (getCurrentException())", "\"-- Runtime error: Out of memory\""},
            {"s = undefined; a.count", "0"}});
    EXPECT_LT(heap_statistics().object_bytes + heap_statistics().held_bytes, most);
    set_heap_limit(default_heap_limit);
}

TEST_P(HeapTest, ThreadsTakeTurns) {
    Rooted kept(make_string("main"));
    std::string seen;
    std::thread([&] {
        SetLastError(ERROR_ACCESS_DENIED);
        init_thread_locals();
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
        auto* block = static_cast<MAXScriptThreadLocals*>(TlsGetValue(thread_locals_index));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->current_locals_frame, nullptr);
        seen = value_of("from_thread = \"a\" + \"b\"");
        collect_garbage();
    }).join();
    EXPECT_EQ(seen, "\"ab\"");
    EXPECT_STREQ(kept->to_string(), "main");
    EXPECT_EQ(value_of("from_thread"), "\"ab\"");
}

void jump(std::jmp_buf& guard) {
    std::longjmp(guard, 1);
}
// The compiler would see a recursion without an end.
void (*volatile leave_through)(std::jmp_buf&) = jump;

/// Leaves frames in the chain and jumps out of them, as a structured-exception guard does.
[[gnu::noinline]] int abandon_frames(std::jmp_buf& guard, int depth) {
    const LibraryFrame frame(make_string("abandoned"));
    if (depth == 0) {
        leave_through(guard);
        return 0;
    }
    return abandon_frames(guard, depth - 1) + static_cast<int>(frame.frame.count);
}

[[gnu::noinline]] int write_over_stack(int depth) {
    volatile std::uintptr_t garbage[64];
    for (volatile std::uintptr_t& word : garbage)
        word = 0xFFFF'0000'1234'5671U + static_cast<std::uintptr_t>(depth);
    return depth == 0 ? static_cast<int>(garbage[5]) : write_over_stack(depth - 1) + 1;
}

TEST_P(HeapTest, LeavesChainsThatCannotBe) {
    LibraryFrame outer(make_string("outer"));
    LibraryFrame broken(make_string("broken"));
    ValueLocalsFrame* const elsewhere = reinterpret_cast<ValueLocalsFrame*>(0x1008);
    const std::pair<std::intptr_t, ValueLocalsFrame*> chains[] = {
        {1, &broken.frame}, {-1, nullptr}, {INTPTR_MAX, &broken.frame}, {1, elsewhere}, {1, nullptr}};
    for (const auto& [count, previous] : chains) {
        thread_state().locals.current_locals_frame = &outer.frame;
        const LibraryCallScope call(thread_state());
        broken.frame.count = count;
        broken.frame.previous = previous;
        thread_state().locals.current_locals_frame = &broken.frame;
        collect_garbage();
        EXPECT_STREQ(outer.slot->to_string(), "outer");
    }
    broken.frame.previous = &outer.frame;
}

TEST_P(HeapTest, SurvivesFramesThatAFaultGuardAbandoned) {
    const LibraryFrame outer(make_string("outer"));
    {
        const LibraryCallScope call(thread_state());
        std::jmp_buf guard;
        if (setjmp(guard) == 0) abandon_frames(guard, 20);
        write_over_stack(40);
        EXPECT_EQ(value_of("\"still \" + \"running\""), "\"still running\"");
        collect_garbage();
        EXPECT_STREQ(outer.slot->to_string(), "outer");
    }
    EXPECT_EQ(thread_state().locals.current_locals_frame, &outer.frame);
}

}  // namespace

}  // namespace corrivane::host
