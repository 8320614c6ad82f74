#include "Core/CallStack.h"

#include <gmock/gmock.h>

#include <dlfcn.h>

#include <stdexcept>
#include <string>
#include <vector>

using Tarsel::Core::CallStack;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

namespace {

[[gnu::noinline]] CallStack HiddenInner(std::size_t skip) {
    CallStack stack = CallStack::Capture(skip);
    asm volatile("");
    return stack;
}

[[gnu::noinline]] CallStack HiddenOuter(std::size_t skip) {
    CallStack stack = HiddenInner(skip);
    asm volatile("");
    return stack;
}

[[noreturn, gnu::noinline]] void Leave(CallStack& stack) {
    stack = CallStack::Capture();
    throw std::runtime_error("left");
}

/// Nothing follows the call: it returns, if it did, into whatever lies behind this function.
[[gnu::noinline]] void EndsInACall(CallStack& stack) {
    Leave(stack);
}

[[gnu::noinline]] CallStack Recurse(int depth) {
    CallStack stack = depth > 0 ? Recurse(depth - 1) : Tarsel::Core::GetCallStack();
    asm volatile("");
    return stack;
}

TEST(CallStack, NamesHiddenFunctionsInnermostFirst) {
    auto const names = HiddenOuter(0).GetFunctionNames();
    ASSERT_GE(names.size(), 3U);
    EXPECT_EQ(names[0], "(anonymous namespace)::HiddenInner(unsigned long)");
    EXPECT_EQ(names[1], "(anonymous namespace)::HiddenOuter(unsigned long)");
    EXPECT_THAT(names[2], HasSubstr("NamesHiddenFunctionsInnermostFirst"));
    EXPECT_THAT(HiddenOuter(1).GetFunctionNames().front(), HasSubstr("HiddenOuter"));
    EXPECT_THAT(HiddenOuter(1000).GetFunctionNames(), SizeIs(0));
}

/// Names, innermost first, of a stack taken by the hidden function of a library opened now.
std::vector<std::string> CaptureInLibrary(char const* file) {
    void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw std::runtime_error(dlerror());
    CallStack stack;
    reinterpret_cast<void (*)(CallStack&)>(dlsym(library, "CaptureInLateLibrary"))(stack);
    std::vector<std::string> const names = stack.GetFunctionNames();
    EXPECT_THAT(to_string(stack), StartsWith(names.at(0) + "\n" + names.at(1) + "\n"));
    dlclose(library);
    return names;
}

TEST(CallStack, NamesFunctionsOfALibraryOpenedLater) {
    // Asked once before, so that a list of libraries kept from then on would be found out.
    ASSERT_FALSE(HiddenOuter(0).GetFunctionNames().empty());
    auto const names = CaptureInLibrary(LATE_LIBRARY);
    EXPECT_EQ(names[0], "Late::HiddenInLateLibrary(Tarsel::Core::CallStack&)");
    EXPECT_EQ(names[1], "CaptureInLateLibrary");
}

TEST(CallStack, GivesModuleAndOffsetWithoutASymbolTable) {
    auto const names = CaptureInLibrary(STRIPPED_LIBRARY);
    EXPECT_THAT(names[0], testing::MatchesRegex("libtest_core_stripped\\.so\\+0x[0-9a-f]+"));
    EXPECT_EQ(names[1], "CaptureInLateLibrary"); // exported, and not taken for its hidden neighbor
}

TEST(CallStack, NamesFunctionsThatEndInACall) {
    CallStack stack;
    EXPECT_THROW(EndsInACall(stack), std::runtime_error);
    EXPECT_EQ(stack.GetFunctionNames().at(1), "(anonymous namespace)::EndsInACall(Tarsel::Core::CallStack&)");
}

TEST(CallStack, KeepsTheInnermostFramesOfADeepStack) {
    CallStack const stack = Recurse(200);
    EXPECT_EQ(stack.GetDepth(), CallStack::s_maxDepth);
    EXPECT_EQ(stack.GetFunctionNames().front(), "(anonymous namespace)::Recurse(int)");
}

} // namespace
