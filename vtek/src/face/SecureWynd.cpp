#include "chassis/Inventory.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"
#include "face/Library.h"
#include "install/Update.h"
#include <vtek/vtek.h>

#include <ctime>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

using vtek::Error;
using vtek::ErrorNumber;
using vtek::Inventory;
using vtek::Library;
using vtek::Result;
using vtek::Settings;
using vtek::Status;
using vtek::Store;
using vtek::Update;

struct secureWynd::Impl {
    Library& library = Library::instance();
    std::optional<Store> store;  ///< open while the session is
    std::optional<Update> update;
    std::string payloadPath;
    int lastError = 0;

    void fail(const char* call, const Error& error) {
        lastError = static_cast<int>(error.number);
        library.log().failure(call, error);
    }

    /** Runs one call of the face; whatever goes wrong in it becomes a number, a line in the log and false. */
    template <class Work>
    bool attempt(const char* call, Work work) {
        try {
            const Status status = work();
            if (!status) {
                fail(call, status.error());
            }
            return static_cast<bool>(status);
        } catch (const std::exception& failure) {
            fail(call, {ErrorNumber::Internal, failure.what()});
            return false;
        }
    }

    Status openSession() {
        VTEK_ASSIGN(const auto* root, usableRoot());
        VTEK_ASSIGN(Store opened, Store::open(*root, Store::Mode::Read));
        VTEK_ASSIGN(const Settings settings, loadSettings(opened));
        if (settings.repositoryKind == NO_WYND) {
            return Error{ErrorNumber::RepositoryAbsent, "this chassis is set to have no repository"};
        }
        store.emplace(std::move(opened));
        return {};
    }

    Result<int> repositoryKind() const {
        VTEK_ASSIGN(const auto* root, usableRoot());
        VTEK_ASSIGN(Store opened, Store::open(*root, Store::Mode::Read));
        VTEK_ASSIGN(const Settings settings, loadSettings(opened));
        return settings.repositoryKind;
    }

    Status query(std::stringstream& out, exmlMode mode) {
        if (!store || mode != QUERY_INVENTORY) {
            return Error{ErrorNumber::OutOfOrder,
                         "the inventory is queried in an open session, in its own mode"};
        }
        return Inventory(store->database()).write([&](std::string_view piece) {
            out.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        });
    }

    Status checkPayload() {
        if (!store) {
            return noUpdate();
        }
        std::error_code failure;
        const auto folder = std::filesystem::current_path(failure);
        if (failure) {
            return Error{ErrorNumber::PayloadUnreadable, "the working directory: " + failure.message()};
        }
        update.emplace(*library.root(), vtek::kWorkingFolder, std::time(nullptr));
        VTEK_ASSIGN(const std::string name, update->check());
        payloadPath = folder / name;
        return {};
    }

    Status add(const std::string& source, const std::string& destination, exmlMode mode) {
        if (!update) {
            return noUpdate();
        }
        if (mode != ADD_PAYLOAD || source != payloadPath) {
            return Error{ErrorNumber::DestinationInvalid, "only the payload that was checked can be added"};
        }
        return update->add(destination);
    }

    Status step(Status (Update::*work)()) { return update ? ((*update).*work)() : noUpdate(); }

    static Status noUpdate() {
        return Error{ErrorNumber::OutOfOrder, "no payload has been checked in an open session"};
    }

private:
    Result<const vtek::Root*> usableRoot() const {
        if (!library.root()) {
            return library.root().error();
        }
        return &*library.root();
    }
};

secureWynd::secureWynd() : isSuccess(false), m_pImpl(new Impl) {
    const auto& root = m_pImpl->library.root();
    isSuccess = static_cast<bool>(root);
    if (!root) {
        m_pImpl->lastError = static_cast<int>(root.error().number);
    }
}

secureWynd::~secureWynd() {
    delete m_pImpl;
}

ewyndSupport secureWynd::IsWyndPresent() {
    if (!m_pImpl->library.root()) {
        return NO_WYND;
    }
    try {
        if (const Result<int> kind = m_pImpl->repositoryKind()) {
            return static_cast<ewyndSupport>(*kind);
        }
    } catch (const std::exception&) {
        // Not there to be told apart from a state that cannot be read.
    }
    // A root whose state cannot be read is there; opening the session tells what is wrong with it.
    return WYND_FULL;
}

void secureWynd::secureWyndInit() {
    isSuccess = m_pImpl->attempt("secureWyndInit", [&] { return m_pImpl->openSession(); });
}

bool secureWynd::QueryTVK(std::stringstream& out, exmlMode mode) {
    return m_pImpl->attempt("QueryTVK", [&] { return m_pImpl->query(out, mode); });
}

bool secureWynd::IsPayloadSigned(std::string& path) {
    const bool trusted = m_pImpl->attempt("IsPayloadSigned", [&] { return m_pImpl->checkPayload(); });
    if (trusted) {
        path = m_pImpl->payloadPath;
    }
    return trusted;
}

bool secureWynd::StartCopyFile() {
    return m_pImpl->attempt("StartCopyFile", [&] { return m_pImpl->step(&Update::start); });
}

// cppcheck-suppress passedByValue ; the platform's own signature
bool secureWynd::AddFile(std::string source, std::string destination, exmlMode mode) {
    return m_pImpl->attempt("AddFile", [&] { return m_pImpl->add(source, destination, mode); });
}

bool secureWynd::CompleteSignedUnzip() {
    return m_pImpl->attempt("CompleteSignedUnzip", [&] { return m_pImpl->step(&Update::unpack); });
}

bool secureWynd::EndCopyFile() {
    return m_pImpl->attempt("EndCopyFile", [&] { return m_pImpl->step(&Update::commit); });
}

int secureWynd::getVTEKError() {
    return m_pImpl->lastError;
}
