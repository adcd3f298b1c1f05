#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/sdk/SDKBridgeDelegate.hpp"
#include "BrindKit/sdk/SDKURLCommand.hpp"

#include <expected>
#include <functional>
#include <string>
#include <string_view>

namespace vq {

/// Carries out a "vantaquill://" URL in the running island with the operations the SDK's delegate
/// offers. `notify`, `end` and `shelf/add` are checked like the SDK's own requests: their token must
/// belong to a registered client holding the scope the same HTTP route needs. A notification
/// without a token comes from the user's own session (a link, `xdg-open`) and is shown under the
/// source "url".
class URLCommandRunner {
public:
    /// Shows one of the island's own views: open (with its tab), settings (with its pane) or clipboard.
    using ShowView = std::function<void(const brind::SDKURLCommand& command)>;

    static constexpr std::string_view ownSource = "url";
    static constexpr std::string_view ownActivityID = "url.notify";
    /// The local id a client's notification gets, as `vantaquill open` gives it.
    static constexpr std::string_view clientLocalID = "url";

    URLCommandRunner(brind::SDKAuthorizer& auth, brind::SDKBridgeDelegate& delegate, ShowView showView)
        : auth(auth), delegate(delegate), showView(std::move(showView)) {}

    /// Parses and carries out `url`; a refusal (bad URL, refused token) is a sentence saying why and
    /// changes nothing.
    std::expected<void, std::string> run(std::string_view url, brind::Date now);

    /// The headless display's line for a view a URL asks for: `url open tab="shelf"`,
    /// `url settings pane="agents"`, `url clipboard`.
    static std::string describeView(const brind::SDKURLCommand& command);

private:
    std::expected<void, std::string> notify(const brind::SDKURLCommand::Notify& notify, brind::Date now);
    std::expected<brind::SDKClient, std::string> client(const std::string& token, brind::SDKScope scope,
                                                        brind::Date now);

    brind::SDKAuthorizer& auth;
    brind::SDKBridgeDelegate& delegate;
    ShowView showView;
};

} // namespace vq
