// Put before a program's libraries (LD_PRELOAD), lets one of its allocations fail, or all from one on, from
// the beginning of main.
#include "Faults/Journal.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace {

using Main = int (*)(int, char**, char**);

Main s_main = nullptr;

int RunMain(int argc, char** argv, char** environment) {
    using namespace Tarsel::Test;
    char const* const descriptor = std::getenv("FAULTS_JOURNAL");
    Journal* const journal = descriptor != nullptr ? OpenJournal(std::atoi(descriptor)) : nullptr;
    if (journal == nullptr)
        return s_main(argc, argv, environment);
    constexpr unsigned patience = 60;
    alarm(patience);
    WriteSignalsTo(*journal);
    Arm(journal->number, journal->form);
    int const code = s_main(argc, argv, environment);
    // What the end of the process still does finds no more memory either.
    if (GetFailed().depth > 0) {
        char text[40];
        (void)std::snprintf(text, sizeof text, "exit code %d", code);
        journal->Add(Event::Vague, text, {});
    } else {
        journal->number = Disarm();
    }
    return code;
}

} // namespace

#pragma GCC visibility push(default)
// NOLINTBEGIN(bugprone-reserved-identifier): glibc's own name of what calls main.
extern "C" int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                                 void (*loaderEnd)(), void* stackEnd) {
    s_main = main;
    auto* const start = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(RunMain, argc, argv, init, fini, loaderEnd, stackEnd);
}
// NOLINTEND(bugprone-reserved-identifier)
#pragma GCC visibility pop
