#pragma once

#include "ports/user_session.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// A scripted program in the fake user session. Time passes at once: a wait with a limit returns
// straight away, telling whether the program has ended; a wait without limit blocks until the test
// (or the close command, or a termination) ends it.
class FakeSessionProgram {
public:
    FakeSessionProgram(uint32_t id, std::u16string commandLine, bool ignoresClose);

    const std::u16string& CommandLine() const { return commandLine_; }
    uint32_t Id() const { return id_; }
    bool IgnoresClose() const { return ignoresClose_; }

    // Ends the program with exitCode; a program that has ended stays as it ended.
    void Exit(uint32_t exitCode);
    // Makes reading the exit code fail.
    void MakeExitCodeUnreadable();

    bool Ended() const;
    // The exit code given to Terminate, if it was terminated.
    std::optional<uint32_t> TerminatedWith() const;
    // The limits of the waits with a limit, in order.
    std::vector<uint32_t> TimedWaits() const;

    // For FakeUserSession's processes.
    bool WaitForExit(uint32_t timeoutMs);
    std::optional<uint32_t> ExitCode() const;
    void Terminate(uint32_t exitCode);

private:
    const uint32_t id_;
    const std::u16string commandLine_;
    const bool ignoresClose_;
    mutable std::mutex mutex_;
    std::condition_variable ended_;
    std::optional<uint32_t> exitCode_;
    bool exitCodeUnreadable_ = false;
    std::optional<uint32_t> terminatedWith_;
    std::vector<uint32_t> timedWaits_;
};

// The interactive user's session as the tests script it. A command line ending in " -Q" is the
// close command: it ends at once with 0 and ends the newest running program of its -T:"kind"
// with 0, unless that one ignores the close command.
class FakeUserSession final : public ports::UserSession {
public:
    std::unique_ptr<ports::SessionProcess> Launch(const std::u16string& commandLine) override;
    std::u16string MessageProgramPath() override { return u"C:\\Plugins\\QUILLON Message.exe"; }

    // No user logged on at the console: every launch fails.
    void SetNobodyLoggedOn(bool nobody);
    // The next `count` launches fail.
    void FailLaunches(int count);
    // Programs started from now on ignore the close command (or obey it again).
    void IgnoreCloseCommand(bool ignore);

    // Called with every command line as it is launched (on the launching thread), before the
    // program starts.
    void WhenLaunching(std::function<void(const std::u16string&)> observer);

    // Every command line asked for, started or not, in order.
    std::vector<std::u16string> CommandLines() const;
    // The started programs, in order of their start.
    std::vector<std::shared_ptr<FakeSessionProgram>> Programs() const;
    std::shared_ptr<FakeSessionProgram> Program(std::size_t index) const;

private:
    void DeliverClose(const std::u16string& closeCommand);

    mutable std::mutex mutex_;
    bool nobodyLoggedOn_ = false;
    int failures_ = 0;
    bool ignoreClose_ = false;
    uint32_t nextId_ = 4000;
    std::vector<std::u16string> commandLines_;
    std::vector<std::shared_ptr<FakeSessionProgram>> programs_;
    std::function<void(const std::u16string&)> observer_;
};

} // namespace sim
