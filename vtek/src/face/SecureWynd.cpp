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
    Store* store = nullptr;  ///< set during the session; the library's
    std::optional<Update> update;
    std::string payloadPath;
    int lastError = 0;

    void fail(const char* call, const Error& error) {
        lastError = static_cast<int>(error.number);
        library.log().failure(call, error);
    }

    /** Runs one public call. Turns any failure in it, exceptions too, into a number, a line in the log and
     * false. */
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
        VTEK_ASSIGN(Store * opened, library.store());
        VTEK_ASSIGN(const Settings settings, loadSettings(*opened));
        if (settings.repositoryKind == NO_WYND) {
            return Error{ErrorNumber::RepositoryAbsent, "this chassis is set to have no repository"};
        }
        store = opened;
        return {};
    }

    Result<int> repositoryKind() const {
        VTEK_ASSIGN(Store * opened, library.store());
        VTEK_ASSIGN(const Settings settings, loadSettings(*opened));
        return settings.repositoryKind;
    }

    Status query(std::stringstream& out, exmlMode mode) {
        if (store == nullptr || mode != QUERY_INVENTORY) {
            return Error{ErrorNumber::OutOfOrder,
                         "an inventory query needs an open session and its own mode"};
        }
        return Inventory(store->database()).write([&](std::string_view piece) {
            out.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        });
    }

    Status checkPayload() {
        if (store == nullptr) {
            return noUpdate();
        }
        // The program starts in the package's folder and passes no path.
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
            return Error{ErrorNumber::DestinationInvalid, "only the checked payload can be added"};
        }
        return update->add(destination);
    }

    Status step(Status (Update::*work)()) { return update ? ((*update).*work)() : noUpdate(); }

    static Status noUpdate() {
        return Error{ErrorNumber::OutOfOrder, "no payload has been checked in an open session"};
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
        // Treated like an unreadable state.
    }
    // The root exists even if its state is unreadable; opening the session then reports why.
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
