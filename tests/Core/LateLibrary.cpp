#include "Core/CallStack.h"

// Exported neighbors on both sides of the hidden function.
extern "C" TARSEL_API int BeforeInLateLibrary();

int BeforeInLateLibrary() {
    return 1;
}

namespace Late {

/// In no dynamic symbol table.
[[gnu::noinline]] static void HiddenInLateLibrary(Tarsel::Core::CallStack& stack) {
    stack = Tarsel::Core::GetCallStack();
}

} // namespace Late

extern "C" TARSEL_API void CaptureInLateLibrary(Tarsel::Core::CallStack& stack);

void CaptureInLateLibrary(Tarsel::Core::CallStack& stack) {
    Late::HiddenInLateLibrary(stack);
    asm volatile(""); // keeps the call above from becoming a jump, which would leave no frame
}
