#include "sim/fake_user_session.h"

#include "ports/waitable.h"

#include <utility>

namespace sim {
namespace {

const std::u16string kCloseSuffix = u" -Q";

bool IsCloseCommand(const std::u16string& commandLine) {
    return commandLine.size() >= kCloseSuffix.size() &&
           commandLine.compare(commandLine.size() - kCloseSuffix.size(), kCloseSuffix.size(),
                               kCloseSuffix) == 0;
}

// The -T:"kind" argument of a command line, quotes included; empty when there is none.
std::u16string KindArgument(const std::u16string& commandLine) {
    const std::size_t start = commandLine.find(u"-T:\"");
    if (start == std::u16string::npos) {
        return {};
    }
    const std::size_t end = commandLine.find(u'"', start + 4);
    return end == std::u16string::npos ? std::u16string()
                                       : commandLine.substr(start, end + 1 - start);
}

class FakeSessionProcess final : public ports::SessionProcess {
public:
    explicit FakeSessionProcess(std::shared_ptr<FakeSessionProgram> program)
        : program_(std::move(program)) {}

    bool WaitForExit(uint32_t timeoutMs) override { return program_->WaitForExit(timeoutMs); }
    std::optional<uint32_t> ExitCode() override { return program_->ExitCode(); }
    void Terminate(uint32_t exitCode) override { program_->Terminate(exitCode); }
    uint32_t Id() const override { return program_->Id(); }

private:
    std::shared_ptr<FakeSessionProgram> program_;
};

} // namespace

FakeSessionProgram::FakeSessionProgram(uint32_t id, std::u16string commandLine, bool ignoresClose)
    : id_(id), commandLine_(std::move(commandLine)), ignoresClose_(ignoresClose) {}

void FakeSessionProgram::Exit(uint32_t exitCode) {
    std::lock_guard lock(mutex_);
    if (!exitCode_) {
        exitCode_ = exitCode;
        ended_.notify_all();
    }
}

void FakeSessionProgram::MakeExitCodeUnreadable() {
    std::lock_guard lock(mutex_);
    exitCodeUnreadable_ = true;
}

bool FakeSessionProgram::Ended() const {
    std::lock_guard lock(mutex_);
    return exitCode_.has_value();
}

std::optional<uint32_t> FakeSessionProgram::TerminatedWith() const {
    std::lock_guard lock(mutex_);
    return terminatedWith_;
}

std::vector<uint32_t> FakeSessionProgram::TimedWaits() const {
    std::lock_guard lock(mutex_);
    return timedWaits_;
}

bool FakeSessionProgram::WaitForExit(uint32_t timeoutMs) {
    std::unique_lock lock(mutex_);
    if (timeoutMs != ports::kInfinite) {
        timedWaits_.push_back(timeoutMs);
        return exitCode_.has_value();
    }
    ended_.wait(lock, [this] { return exitCode_.has_value(); });
    return true;
}

std::optional<uint32_t> FakeSessionProgram::ExitCode() const {
    std::lock_guard lock(mutex_);
    return exitCodeUnreadable_ ? std::nullopt : exitCode_;
}

void FakeSessionProgram::Terminate(uint32_t exitCode) {
    {
        std::lock_guard lock(mutex_);
        if (exitCode_) {
            return;
        }
        terminatedWith_ = exitCode;
    }
    Exit(exitCode);
}

std::unique_ptr<ports::SessionProcess> FakeUserSession::Launch(const std::u16string& commandLine) {
    std::shared_ptr<FakeSessionProgram> program;
    std::function<void(const std::u16string&)> observer;
    {
        std::lock_guard lock(mutex_);
        observer = observer_;
    }
    if (observer) {
        observer(commandLine);
    }
    {
        std::lock_guard lock(mutex_);
        commandLines_.push_back(commandLine);
        if (nobodyLoggedOn_ || failures_ > 0) {
            failures_ = failures_ > 0 ? failures_ - 1 : 0;
            return nullptr;
        }
        program = std::make_shared<FakeSessionProgram>(nextId_++, commandLine, ignoreClose_);
        programs_.push_back(program);
    }
    if (IsCloseCommand(commandLine)) {
        DeliverClose(commandLine);
        program->Exit(0);
    }
    return std::make_unique<FakeSessionProcess>(std::move(program));
}

void FakeUserSession::DeliverClose(const std::u16string& closeCommand) {
    const std::u16string kind = KindArgument(closeCommand);
    for (const auto& program : Programs()) {
        const std::u16string& line = program->CommandLine();
        if (!IsCloseCommand(line) && KindArgument(line) == kind && !program->Ended() &&
            !program->IgnoresClose()) {
            program->Exit(0);
        }
    }
}

void FakeUserSession::WhenLaunching(std::function<void(const std::u16string&)> observer) {
    std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
}

void FakeUserSession::SetNobodyLoggedOn(bool nobody) {
    std::lock_guard lock(mutex_);
    nobodyLoggedOn_ = nobody;
}

void FakeUserSession::FailLaunches(int count) {
    std::lock_guard lock(mutex_);
    failures_ = count;
}

void FakeUserSession::IgnoreCloseCommand(bool ignore) {
    std::lock_guard lock(mutex_);
    ignoreClose_ = ignore;
}

std::vector<std::u16string> FakeUserSession::CommandLines() const {
    std::lock_guard lock(mutex_);
    return commandLines_;
}

std::vector<std::shared_ptr<FakeSessionProgram>> FakeUserSession::Programs() const {
    std::lock_guard lock(mutex_);
    return programs_;
}

std::shared_ptr<FakeSessionProgram> FakeUserSession::Program(std::size_t index) const {
    std::lock_guard lock(mutex_);
    return index < programs_.size() ? programs_[index] : nullptr;
}

} // namespace sim
