#include "FailingCalls.h"

#include <ostream>
#include <stdexcept>

namespace test {

namespace {

FailingCalls* running = nullptr;

bool isInOneLibrary(const void* one, const void* other) {
    dl_find_object ofOne{};
    dl_find_object ofOther{};
    return _dl_find_object(const_cast<void*>(one), &ofOne) == 0 &&
           _dl_find_object(const_cast<void*>(other), &ofOther) == 0 &&
           ofOne.dlfo_map_start == ofOther.dlfo_map_start;
}

}  // namespace

void PrintTo(Calls calls, std::ostream* out) {
    constexpr const char* kNames[] = {"Files", "Database", "Crypto", "Archive", "Xml"};
    *out << kNames[static_cast<int>(calls)];
}

FailingCalls::Failure::Failure(FailingCalls& owner) {
    if (running != nullptr) {
        throw std::logic_error("calls fail already");
    }
    owner.left_ = ++owner.number_;
    owner.happened_ = false;
    owner.name_ = "nothing";
    running = &owner;
}

FailingCalls::Failure::~Failure() {
    running = nullptr;
}

bool FailingCalls::isNow(const void* caller, Calls calls, const char* name, const void* callee) {
    if (running == nullptr || running->calls_ != calls || isInOneLibrary(caller, callee) ||
        --running->left_ != 0) {
        return false;
    }
    running->happened_ = true;
    running->name_ = name;
    errno = running->error_;
    return true;
}

}  // namespace test
