#pragma once

#include "PayloadCheck.h"
#include "Repository.h"
#include "UpdateSteps.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace vtek {

/** The free bytes without which no update starts: for the copy, and at least as much again for what comes out
 * of it. */
std::uint64_t spaceToStart(std::uint64_t payloadSize);

/** One update, by this library's own means. */
class Update final : public UpdateSteps {
public:
    Update(const Root& root, int folder, std::time_t now) : root_(root), folder_(folder), now_(now) {}

    Result<std::string> check() override;
    Status start() override;
    Status add(const std::string& destination) override;
    Status unpack() override;
    Status commit() override;

private:
    enum class Step { Nothing, Checked, Started, Added, Unpacked, Committed };

    Status require(Step step) const;
    Result<UniqueFd> createCopy(const std::string& destination);
    Status copyPayload(int copy);

    const Root& root_;
    int folder_;
    std::time_t now_;
    Step step_ = Step::Nothing;
    std::optional<CheckedPayload> checked_;
    std::optional<Repository> repository_;
    UniqueFd staged_;
    UniqueFd copy_;
    std::string place_;  ///< the folder that the destination names
};

}  // namespace vtek
