#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// Which port operations fail, for fault injection: every call of one operation, or only its nth
// call. Each operation of the faulty ports (faulty_ports.h) asks the plan before it runs, under a
// name "Port.Operation"; the plan counts the calls and remembers every name it was asked about,
// so a test can first run a session to learn the operations it reaches and then make each fail
// in turn. Safe for the plug-in's threads.
class FaultPlan {
public:
    // Fails every call of the operation from now on (and only that operation).
    void FailEvery(std::string operation);
    // Fails only the nth call (1 for the first) of the operation counted from now on.
    void FailCall(std::string operation, std::size_t nth);
    // Fails nothing from now on.
    void FailNothing();

    // Counts a call of the operation and says whether it fails.
    bool Fails(std::string_view operation);

    // Every operation asked about so far, in the order each was first called.
    std::vector<std::string> Operations() const;
    // How many calls the plan has failed.
    std::size_t Failed() const;

private:
    mutable std::mutex mutex_;
    std::string target_;
    std::size_t nth_ = 0; // 0: every call
    std::size_t targetCalls_ = 0;
    std::size_t failed_ = 0;
    std::vector<std::string> seen_;
    std::map<std::string, std::size_t, std::less<>> calls_;
};

} // namespace sim
