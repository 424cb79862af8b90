#include "function_publishing/static_interface.h"

#include "fakes/fake_max.h"
#include "fakes/fake_publishing.h"
#include "fakes/fake_scripts.h"
#include "support/message_of.h"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

namespace corrivane::test {
namespace {

using namespace quorvel::FPWrapper;

/// Publishes one function of each signature that is in use.
class Sample final : public QXStaticInterface<Sample, 4> {
public:
    std::string called;

    explicit Sample(Interface_ID id = {1, 2}, int more_functions = 0) {
        auto descriptor = QXCreateDescriptor(this, id, "Sample", nullptr);
        descriptor.add_function(&Sample::Ready, "Ready");
        descriptor.add_function(&Sample::Pick, "Pick", "index");
        descriptor.add_function(&Sample::Scale, "Scale", "factor");
        descriptor.add_function(&Sample::Rename, "Rename", "from", "to");
        descriptor.add_read_only_property(&Sample::Count, "Count");
        descriptor.add_function(&Sample::Explicit, "Explicit", "text", "Param2", "Param3", "Param4", "Param5",
                                "Param6", "Param7", 77);
        descriptor.add_function(&Sample::Find, "Find");
        descriptor.add_function(&Sample::Entry, "Entry", "index", "key");
        for (int i = 0; i < more_functions; ++i)
            descriptor.add_function(&Sample::Rename, "Rename" + std::to_string(i), "from", "to");
    }

    bool Ready() { return true; }
    bool Pick(int index) { return index == 3; }
    bool Scale(float factor) { return factor == 0.5F; }
    bool Rename(const std::string& from, const std::string& to) {
        called = from + " to " + to;
        return false;
    }
    int Count() { return -5; }
    void Explicit(const std::string& text) {
        if (text == "runtime") throw RuntimeError("of the script's own");
        if (text == "max") throw 17;
        throw std::out_of_range(text);
    }
    int Find(const std::string& text) { return static_cast<int>(text.size()); }
    Value* Entry(int index, const std::string& key) {
        called = std::to_string(index) + key;
        return nullptr;
    }
};

FPParams arguments(const std::vector<FPValue>& values) {
    return {values};
}

FPValue integer(int value) {
    FPValue argument;
    argument.i = value;
    return argument;
}

FPValue real(float value) {
    FPValue argument;
    argument.f = value;
    return argument;
}

FPValue value_of(Value* value) {
    FPValue argument;
    argument.v = value;
    return argument;
}

class FunctionPublishing : public testing::Test {
protected:
    FunctionPublishing() {
        fake_max() = FakeMax();
        reset_fake_scripts();
    }
    ~FunctionPublishing() override { reset_fake_scripts(); }

    /// A text that lives as long as the test; no collector knows it.
    FPValue text(const char* characters) { return value_of(&m_texts.emplace_back(characters)); }

private:
    std::list<String> m_texts;
};

TEST_F(FunctionPublishing, DescriptorListsWhatWasRegisteredByIdentifier) {
    const Sample sample;
    const PublishedInterface& published = published_interface("Sample");
    EXPECT_EQ(published.owner, &sample);
    EXPECT_EQ(published.id, Interface_ID(1, 2));
    EXPECT_EQ(published.flags, 4U);
    EXPECT_EQ(published.description_resource, 0);
    EXPECT_EQ(published.class_desc, nullptr);
    EXPECT_EQ(published.functions, (std::vector<std::string>{
                                       "0 Ready 46 ()",
                                       "1 Pick 46 (index 1)",
                                       "2 Scale 46 (factor 0)",
                                       "3 Rename 46 (from 44, to 44)",
                                       "5 Find 1 (Param1 44)",
                                       "6 Entry 44 (index 1, key 44)",
                                       "77 Explicit 25 (text 44)",
                                   }));
    EXPECT_EQ(published.properties, std::vector<std::string>{"4 -1 Count 1"});
}

TEST_F(FunctionPublishing, DescriptorBeyondTheFirstBufferStaysIntact) {
    const Sample sample({1, 2}, 60);
    const PublishedInterface& published = published_interface("Sample");
    ASSERT_EQ(published.functions.size(), 67U);
    for (int i = 0; i < 60; ++i)
        EXPECT_EQ(published.functions[static_cast<std::size_t>(6 + i)],
                  std::to_string(7 + i) + " Rename" + std::to_string(i) + " 46 (from 44, to 44)");
    EXPECT_EQ(published.functions.back(), "77 Explicit 25 (text 44)");
    EXPECT_EQ(published.properties, std::vector<std::string>{"4 -1 Count 1"});
}

TEST_F(FunctionPublishing, BufferGrowsByHalvesBelowTwentyFreeBytes) {
    VarArgBuffer buffer;
    std::vector<std::size_t> capacities{buffer.capacity()};
    for (FPSlot i = 0; i < 400; ++i) {
        const std::size_t free = buffer.capacity() - buffer.size();
        buffer.append(i);
        EXPECT_EQ(buffer.capacity() != capacities.back(), free < 20);
        if (buffer.capacity() != capacities.back()) capacities.push_back(buffer.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<std::size_t>{1024, 1536, 2304, 3456}));
    for (FPSlot i = 0; i < 400; ++i)
        ASSERT_EQ(buffer.list()[i], i);
}

TEST_F(FunctionPublishing, DescriptorWithoutPropertiesHasNoTagForThem) {
    struct Plain final : QXStaticInterface<Plain, 0> {
        Plain() { QXCreateDescriptor(this, {3, 4}, "Plain", nullptr).add_function(&Plain::Do, "Do"); }
        void Do(const std::string&) {}
    } const plain;
    EXPECT_FALSE(published_interface("Plain").has_properties_tag);
    EXPECT_EQ(published_interface("Plain").functions, std::vector<std::string>{"0 Do 25 (Param1 44)"});
}

TEST_F(FunctionPublishing, DefaultIdentifierIsRefusedLoudlyAndNotPublished) {
    const std::string text =
        "QXCreateDescriptor() - The interface ID for the function publishing descriptor \"Sample\" was set "
        "to the "
        "default value, its value must be set to a randomly selected constant value.";
    EXPECT_EQ(message_of([] { const Sample sample{Interface_ID()}; }), text);
    EXPECT_EQ(fake_max().system_log, std::vector<std::string>{"1 1 QX Function Publishing Wrapper: " + text});
    EXPECT_THROW(published_interface("Sample"), std::out_of_range);
}

TEST_F(FunctionPublishing, CallsReachTheMemberWithConvertedArguments) {
    Sample sample;
    const auto call = [&](FunctionID id, FPParams params) {
        FPValue returned;
        EXPECT_EQ(sample._dispatch_fn(id, 0, returned, &params), FPS_OK) << id;
        return returned;
    };
    EXPECT_TRUE(call(0, {}).b);
    EXPECT_EQ(call(0, {}).type, TYPE_bool);
    EXPECT_TRUE(call(1, arguments({integer(3)})).b);
    EXPECT_TRUE(call(2, arguments({real(0.5F)})).b);
    EXPECT_FALSE(call(3, arguments({text("a"), text("b")})).b);
    EXPECT_EQ(sample.called, "a to b");
    EXPECT_EQ(call(4, {}).i, -5);
    EXPECT_EQ(call(5, arguments({text("four")})).i, 4);
    EXPECT_EQ(call(5, arguments({value_of(without_text())})).i, 0) << "a null text is an empty one";
    EXPECT_EQ(call(6, arguments({integer(-1), text("key")})).v, nullptr);
    EXPECT_EQ(sample.called, "-1key");

    FPValue result;
    EXPECT_EQ(sample._dispatch_fn(4, 0, result, nullptr), FPS_OK)
        << "without parameters there may be no list of them";
    EXPECT_EQ(result.i, -5);

    FPValue untouched = integer(42);
    EXPECT_EQ(sample._dispatch_fn(99, 0, untouched, nullptr), FPS_NO_SUCH_FUNCTION);
    EXPECT_EQ(untouched.i, 42);
}

TEST_F(FunctionPublishing, StandardExceptionsBecomeRuntimeErrors) {
    Sample sample;
    const auto error_of = [&](FPParams params) {
        FPValue result;
        try {
            sample._dispatch_fn(77, 0, result, &params);
        } catch (RuntimeError& error) {
            StringStream printed;
            error.sprin1(&printed);
            return std::string(printed.to_string());
        } catch (int number) {
            return "int " + std::to_string(number);
        }
        return std::string("none");
    };
    EXPECT_EQ(error_of(arguments({text("bad index")})), "-- Runtime error: bad index");
    EXPECT_EQ(error_of(arguments({text("runtime")})), "-- Runtime error: of the script's own");
    EXPECT_EQ(error_of(arguments({text("max")})), "int 17");
    EXPECT_TRUE(error_of({}).starts_with("-- Runtime error: ")) << "an argument that is missing";
}

}  // namespace
}  // namespace corrivane::test
