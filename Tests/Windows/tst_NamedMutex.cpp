// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Check.h"
#include "System/SingleInstance.h"

#include <windows.h>

#include <string>
#include <string_view>

namespace {

constexpr DWORD timeout = 30000;
constexpr DWORD acquired = 0;
constexpr DWORD refused = 1;
const char *const acquiredEvent = "BrenvokaTestAcquired";

/// A second process of this program that acquires the mutex.
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
        WaitForSingleObject(process.hProcess, timeout);
    }
    [[nodiscard]] DWORD exitCode() const
    {
        DWORD code = STILL_ACTIVE;
        CHECK(WaitForSingleObject(process.hProcess, timeout) == WAIT_OBJECT_0);
        GetExitCodeProcess(process.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION process{};
};

void mutexIsFreeAfterExitAndAfterKill()
{
    CHECK(Start("try").exitCode() == acquired);

    const HANDLE acquiredByOwner = CreateEventA(nullptr, TRUE, FALSE, acquiredEvent);
    const Start owner("keep");
    CHECK(WaitForSingleObject(acquiredByOwner, timeout) == WAIT_OBJECT_0);
    CHECK(Start("try").exitCode() == refused);
    CHECK(Start("try").exitCode() == refused);

    owner.kill();
    CHECK(Start("try").exitCode() == acquired);
    CloseHandle(acquiredByOwner);
}

void mutexIsMachineWide()
{
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, "Global\\Brenvoka");
    CHECK(mutex != nullptr);
    CHECK(Start("try").exitCode() == refused);
    CloseHandle(mutex);
    CHECK(Start("try").exitCode() == acquired);
}

void failureToCreateTheMutexDoesNotPreventTheStart()
{
    const HANDLE otherKind = CreateEventA(nullptr, TRUE, FALSE, "Global\\Brenvoka");
    CHECK(otherKind != nullptr);
    CHECK(Start("try").exitCode() == acquired);
    CloseHandle(otherKind);
}

DWORD keep()
{
    if (!SingleInstance::acquire())
        return refused;
    SetEvent(OpenEventA(EVENT_MODIFY_STATE, FALSE, acquiredEvent));
    Sleep(INFINITE);
    return acquired;
}

} // namespace

/// One instance per machine, by a named mutex.
int main(int argc, char *argv[])
{
    const std::string_view argument = argc > 1 ? argv[1] : "";
    if (argument == "keep")
        return static_cast<int>(keep());
    if (argument == "try")
        return static_cast<int>(SingleInstance::acquire() ? acquired : refused);

    RUN(mutexIsFreeAfterExitAndAfterKill);
    RUN(mutexIsMachineWide);
    RUN(failureToCreateTheMutexDoesNotPreventTheStart);
    return Check::result();
}
