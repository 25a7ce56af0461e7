// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Check.h"
#include "System/SingleInstance.h"

#include <windows.h>

#include <string>
#include <string_view>

namespace {

constexpr DWORD patience = 30000;
constexpr DWORD taken = 0;
constexpr DWORD refused = 1;
const char *const takenEvent = "BrenvokaTestTaken";

/// This program once more, as one that starts the application.
class Start
{
public:
    explicit Start(const char *argument)
    {
        std::string path(MAX_PATH, '\0');
        path.resize(GetModuleFileNameA(nullptr, path.data(), MAX_PATH));
        std::string command = "\"" + path + "\" " + argument;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        CHECK(CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             nullptr, &startup, &process));
    }
    ~Start()
    {
        kill();
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    Start(const Start &) = delete;
    Start &operator=(const Start &) = delete;

    void kill() const
    {
        TerminateProcess(process.hProcess, 9);
        WaitForSingleObject(process.hProcess, patience);
    }
    [[nodiscard]] DWORD exitCode() const
    {
        DWORD code = STILL_ACTIVE;
        CHECK(WaitForSingleObject(process.hProcess, patience) == WAIT_OBJECT_0);
        GetExitCodeProcess(process.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION process{};
};

void nameIsFreeAgainAfterAnyDeath()
{
    CHECK(Start("try").exitCode() == taken);

    const HANDLE held = CreateEventA(nullptr, TRUE, FALSE, takenEvent);
    const Start holder("hold");
    CHECK(WaitForSingleObject(held, patience) == WAIT_OBJECT_0);
    CHECK(Start("try").exitCode() == refused);
    CHECK(Start("try").exitCode() == refused);

    holder.kill();
    CHECK(Start("try").exitCode() == taken);
    CloseHandle(held);
}

void nameIsThatOfTheWholeMachine()
{
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, "Global\\Brenvoka");
    CHECK(mutex != nullptr);
    CHECK(Start("try").exitCode() == refused);
    CloseHandle(mutex);
    CHECK(Start("try").exitCode() == taken);
}

void nameThatCannotBeTakenDoesNotKeepTheProgramFromRunning()
{
    const HANDLE otherKind = CreateEventA(nullptr, TRUE, FALSE, "Global\\Brenvoka");
    CHECK(otherKind != nullptr);
    CHECK(Start("try").exitCode() == taken);
    CloseHandle(otherKind);
}

DWORD hold()
{
    if (!SingleInstance::acquire())
        return refused;
    SetEvent(OpenEventA(EVENT_MODIFY_STATE, FALSE, takenEvent));
    Sleep(INFINITE);
    return taken;
}

} // namespace

/// One instance per machine, by a named mutex.
int main(int argc, char *argv[])
{
    const std::string_view argument = argc > 1 ? argv[1] : "";
    if (argument == "hold")
        return static_cast<int>(hold());
    if (argument == "try")
        return static_cast<int>(SingleInstance::acquire() ? taken : refused);

    RUN(nameIsFreeAgainAfterAnyDeath);
    RUN(nameIsThatOfTheWholeMachine);
    RUN(nameThatCannotBeTakenDoesNotKeepTheProgramFromRunning);
    return Check::result();
}
