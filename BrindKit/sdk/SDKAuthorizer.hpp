#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/sdk/SDKAuthError.hpp"
#include "BrindKit/sdk/SDKClient.hpp"
#include "BrindKit/sdk/SDKScope.hpp"

#include <array>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// Registered SDK clients and their tokens: issues, revokes and checks bearer tokens and scopes.
/// Thread-safe; `onChange` is called after every change, outside the lock, with the full list.
class SDKAuthorizer {
public:
    using ChangeHandler = std::function<void(const std::vector<SDKClient>&)>;

    /// Tokens are "vq_" followed by 32 random bytes in base64url.
    static constexpr std::string_view tokenPrefix = "vq_";
    static constexpr std::size_t tokenRandomBytes = 32;
    static constexpr std::size_t maxAppIDCharacters = 64;
    static constexpr std::size_t maxNameCharacters = 48;
    /// A successful authorisation moves `lastSeen` every time, but reports a change (and so a write
    /// of the client file) only when the stored value is at least this many seconds old.
    static constexpr double lastSeenReportInterval = 60;

    /// Starts from a persisted list; later entries win over earlier ones with the same appID.
    explicit SDKAuthorizer(const std::vector<SDKClient>& clients = {});

    void setOnChange(ChangeHandler handler);
    /// Called instead of `onChange`, outside the lock and on the authorising thread, when only a
    /// `lastSeen` moved (`all` then holds it): a writer may put that off. Without one, `onChange`
    /// is called as for any change.
    void setOnSeen(std::function<void()> handler);

    /// The clients sorted for display: by name without regard to case, then by appID.
    std::vector<SDKClient> all() const;

    std::optional<SDKClient> client(std::string_view appID) const;

    /// 1 to 64 characters of ASCII lower-case letters, digits, "." and "-", starting with a letter or a digit.
    static bool isValidAppID(std::string_view text);

    /// 1 to 48 user-perceived characters after trimming, on one line.
    static bool isValidName(std::string_view text);

    /// A fresh 46-character token.
    static std::string newToken();

    /// SHA-256 of the token as 64 lower-case hexadecimal digits.
    static std::string hash(std::string_view token);

    /// Equality that takes the same time wherever two texts of equal length differ.
    static bool same(std::string_view a, std::string_view b);

    /// Creates or replaces the client (an earlier token for the appID stops working) and returns
    /// its new token, which cannot be read back later.
    std::string issue(std::string appID, std::string name, std::vector<SDKScope> scopes, Date now);

    /// Removes the client; its token stops working at once.
    void revoke(std::string_view appID);

    /// Replaces a known client's scopes.
    void setScopes(std::string_view appID, std::vector<SDKScope> scopes);

    /// The client holding `token`, if it holds `scope` (when one is required); `lastSeen` becomes now.
    std::expected<SDKClient, SDKAuthError> authorize(const std::optional<std::string>& token,
                                                     std::optional<SDKScope> scope, Date now);

    /// The client that created an activity whose identifier is "sdk." + appID + "." + its own id.
    /// Where appIDs nest ("a.b" and "a.b.c"), the longest one that fits wins.
    std::optional<SDKClient> owner(std::string_view ofActivity) const;

private:
    std::vector<SDKClient> sortedLocked() const;
    /// Rebuilds `digestWords` and `digestOwners` from `clients`; called whenever a client is added or removed.
    void indexLocked();
    void report(std::vector<SDKClient> clients) const;

    mutable std::mutex lock;
    std::map<std::string, SDKClient, std::less<>> clients;
    // The stored digests in binary, the form `authorize` compares: the four 64-bit words of each in
    // four columns. Readable digests only (a stored text that is not 64 lower-case hex digits never
    // matches), and beside them the client each belongs to: map nodes stay put until erased, and
    // every erase rebuilds both.
    std::array<std::vector<std::uint64_t>, 4> digestWords;
    std::vector<SDKClient*> digestOwners;
    ChangeHandler onChange;
    std::function<void()> onSeen;
};

} // namespace brind
