#include "Core/CallStack.h"

#include <gmock/gmock.h>

#include <dlfcn.h>
#include <sys/mman.h>

#include <cstring>
#include <string>

using Tarsel::Core::CallStack;
using testing::ElementsAre;
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

TEST(CallStack, NamesFunctionsOfALibraryOpenedLater) {
    // Asked once before, so that a list of libraries kept from then on would be found out.
    ASSERT_FALSE(HiddenOuter(0).GetFunctionNames().empty());
    void* const library = dlopen(LATE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    auto const capture = reinterpret_cast<void (*)(CallStack&)>(dlsym(library, "CaptureInLateLibrary"));
    ASSERT_NE(capture, nullptr);

    CallStack stack;
    capture(stack);
    auto const names = stack.GetFunctionNames();
    ASSERT_GE(names.size(), 2U);
    EXPECT_EQ(names[0], "Late::HiddenInLateLibrary(Tarsel::Core::CallStack&)");
    EXPECT_EQ(names[1], "CaptureInLateLibrary");
    EXPECT_THAT(to_string(stack), StartsWith(names[0] + "\n" + names[1] + "\n"));
    dlclose(library);
}

TEST(CallStack, KeepsTheInnermostFramesOfADeepStack) {
    CallStack const stack = Recurse(200);
    EXPECT_EQ(stack.GetDepth(), CallStack::s_maxDepth);
    EXPECT_EQ(stack.GetFunctionNames().front(), "(anonymous namespace)::Recurse(int)");
}

} // namespace
