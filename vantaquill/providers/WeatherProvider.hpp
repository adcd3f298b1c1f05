#pragma once

#include "BrindKit/widgets/WidgetOpenMeteo.hpp"
#include "BrindKit/widgets/WidgetPlace.hpp"
#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/WeatherForecastFile.hpp"

#include <QString>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QDBusConnection;
class QNetworkAccessManager;

namespace vq {

class WeatherSignalRelay;

/// The weather keys of the preferences file, as the preferences store checked them.
struct WeatherSettings {
    /// "widgets.weather.unit".
    brind::WidgetTemperatureUnit unit = brind::WidgetTemperatureUnit::celsius;
    /// "widgets.weather.city": a place as `WidgetPlace::json()`, or a name typed by hand (the
    /// service's first match for it is used).
    std::string city;
    /// "widgets.weather.useLocation": the machine's location instead of the chosen place.
    bool useLocation = false;
    /// "widgets.weather.forecastHost", "widgets.weather.geocodingHost": a host name (asked over
    /// HTTPS) or a scheme and host ("http://127.0.0.1:8080"); empty for Open-Meteo's public hosts.
    std::string forecastHost;
    std::string geocodingHost;

    /// The chosen place when `city` holds one stored as JSON.
    std::optional<brind::WidgetPlace> chosenPlace() const;
    /// The name typed by hand when `city` is not a stored place (trimmed; empty when none).
    std::string typedName() const;

    friend bool operator==(const WeatherSettings&, const WeatherSettings&) = default;
};

/// Fetches the forecast for the chosen place (or the machine's location through GeoClue) from
/// Open-Meteo, keeps the last good one on disk and refreshes it: one timer set to the moment the
/// forecast stops being fresh, and at once after waking from sleep or when the network comes back
/// if it is stale by then. A failed fetch keeps what was shown; the file is shown offline.
class WeatherProvider final : public LiveActivityCenter::Provider {
public:
    static constexpr std::string_view providerID = "weather";
    /// A forecast younger than this is not fetched again (half an hour: the service's own models
    /// update hourly at best).
    static constexpr double maxAge = 1800;
    /// After a failed fetch, the next try (sooner when the network comes back).
    static constexpr double retryDelay = 300;
    /// A request that has not finished by then failed.
    static constexpr double requestTimeout = 15;
    static constexpr std::string_view userAgent = "vantaquill/1.0 (weather widget; +https://open-meteo.com)";
    /// The sentence shown when the location cannot be had.
    static constexpr std::string_view locationOff = "Location is off for vantaquill. Type a city instead.";

    using Log = std::function<void(const std::string&)>;

    /// `forecastFile` is `WeatherForecastFile::path` of the data folder. `systemBus` is the address
    /// of the bus logind, NetworkManager and GeoClue are asked on (the system bus when absent).
    WeatherProvider(Scheduler& scheduler, std::filesystem::path forecastFile, WeatherSettings settings, Log log,
                    std::optional<std::string> systemBus = std::nullopt);
    ~WeatherProvider() override;
    WeatherProvider(const WeatherProvider&) = delete;
    WeatherProvider& operator=(const WeatherProvider&) = delete;

    std::string id() const override { return std::string(providerID); }
    /// Shows the forecast on disk, follows sleep and the network, and fetches when it is stale.
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// New preferences: a new place, unit, location switch or host fetches again at once.
    void applySettings(WeatherSettings settings);
    const WeatherSettings& settings() const { return settings_; }

    /// Fetches unless the forecast shown is fresh and for the current place and unit (or `force`).
    void refreshIfNeeded(bool force = false);

    /// Searches places by name; the answer fills `searchResults` or sets `error`.
    void search(const std::string& query);
    /// The user picked a place: it is stored through `onChoose`, the location is switched off and
    /// the weather fetched for it.
    void choose(const brind::WidgetPlace& place);

    /// The forecast shown (from the last fetch, or from disk), with the place it is for.
    const std::optional<WeatherForecastFile>& current() const { return current_; }
    /// Whether `current` came from the file and no fetch has succeeded since.
    bool fromDisk() const { return fromDisk_; }
    const std::vector<brind::WidgetPlace>& searchResults() const { return searchResults_; }
    /// The last failure as one sentence; empty after a success.
    const std::string& error() const { return error_; }
    bool isFetching() const { return fetching_; }

    /// Told after every change of the above.
    std::function<void()> onChange;
    /// Stores a chosen place: sets "widgets.weather.city" and turns "widgets.weather.useLocation" off.
    std::function<void(const brind::WidgetPlace&)> onChoose;

    /// The full URL for a request built for `host` by `WidgetOpenMeteo`, asked of `configured`
    /// instead (a host, or a scheme and host; empty keeps `host`).
    static std::string retarget(const std::string& url, std::string_view host, const std::string& configured);

private:
    using Completion = std::function<void(std::expected<std::string, std::string>)>;

    void get(const std::string& url, Completion completion);
    void fetchFor(const brind::WidgetPlace& place);
    void resolveTypedName(const std::string& name);
    /// Connects to the system bus and follows sleep and the network, once.
    void followSystem();
    void askLocation();
    void readLocation(const QString& path);
    void scheduleAt(double seconds);
    void failed(const std::string& why);
    void changed();

    Scheduler& scheduler_;
    std::filesystem::path forecastFile_;
    WeatherSettings settings_;
    Log log_;
    std::optional<std::string> systemBusAddress_;
    std::unique_ptr<QNetworkAccessManager> network_;
    std::unique_ptr<WeatherSignalRelay> relay_;
    std::unique_ptr<QDBusConnection> bus_;
    QString busName_;
    bool running_ = false;

    std::optional<WeatherForecastFile> current_;
    bool fromDisk_ = false;
    std::vector<brind::WidgetPlace> searchResults_;
    std::string error_;
    bool fetching_ = false;
    /// Answers to an older request (the place or unit changed meanwhile) are dropped.
    std::uint64_t generation_ = 0;
    std::unique_ptr<Scheduler::Timer> timer_;

    /// A name typed by hand, once the service matched it.
    std::optional<std::pair<std::string, brind::WidgetPlace>> typedMatch_;
    /// The machine's location once GeoClue told it.
    std::optional<brind::WidgetPlace> located_;
    QString geoClueClient_;
    bool locationAsked_ = false;
    /// GeoClue is missing or refused: the chosen place is used until the switch is turned again.
    bool locationUnavailable_ = false;
    bool networkDown_ = false;
};

} // namespace vq
