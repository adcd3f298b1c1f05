#include "vantaquill/providers/WeatherProvider.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "vantaquill/providers/WeatherSignalRelay.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <utility>

namespace vq {

namespace {

constexpr const char* login1 = "org.freedesktop.login1";
constexpr const char* networkManager = "org.freedesktop.NetworkManager";
constexpr const char* geoClue = "org.freedesktop.GeoClue2";
constexpr const char* geoClueClient = "org.freedesktop.GeoClue2.Client";
constexpr const char* properties = "org.freedesktop.DBus.Properties";
/// NetworkManager's NM_STATE_CONNECTED_GLOBAL: the internet answers.
constexpr uint networkConnected = 70;
/// GeoClue's accuracy level for a city: all the weather needs, and what users are asked least about.
constexpr uint cityAccuracy = 4;
/// The name the desktop's location permission knows the application by.
constexpr const char* desktopID = "vantaquill";

QString qtext(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The language place names come back in: the user's, as a two-letter code.
std::string language() {
    const QString name = QLocale().name().section('_', 0, 0);
    return name.isEmpty() || name == "C" ? "en" : name.toStdString();
}

} // namespace

std::optional<brind::WidgetPlace> WeatherSettings::chosenPlace() const {
    const auto parsed = brind::JSONText::parse(city);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    return brind::WidgetPlace::fromJSON(*parsed);
}

std::string WeatherSettings::typedName() const {
    if (chosenPlace())
        return {};
    return QString::fromStdString(city).trimmed().toStdString();
}

std::string WeatherProvider::retarget(const std::string& url, std::string_view host, const std::string& configured) {
    const QString base = QString::fromStdString(configured).trimmed();
    if (base.isEmpty())
        return url;
    const std::string prefix = "https://" + std::string(host);
    if (!url.starts_with(prefix))
        return url;
    const std::string scheme = base.contains("://") ? "" : "https://";
    std::string rest = url.substr(prefix.size());
    std::string root = scheme + base.toStdString();
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    return root + rest;
}

WeatherProvider::WeatherProvider(Scheduler& scheduler, std::filesystem::path forecastFile, WeatherSettings settings,
                                 Log log, std::optional<std::string> systemBus)
    : scheduler_(scheduler), forecastFile_(std::move(forecastFile)), settings_(std::move(settings)),
      log_(std::move(log)), systemBusAddress_(std::move(systemBus)) {}

WeatherProvider::~WeatherProvider() {
    stop();
}

void WeatherProvider::start(LiveActivityCenter&) {
    if (running_)
        return;
    running_ = true;
    network_ = std::make_unique<QNetworkAccessManager>();
    relay_ = std::make_unique<WeatherSignalRelay>();
    if (!current_) {
        current_ = WeatherForecastFile::load(forecastFile_);
        fromDisk_ = current_.has_value();
    }
    changed();
    refreshIfNeeded();
}

void WeatherProvider::followSystem() {
    if (bus_)
        return;
    static std::atomic<int> connections{0};
    busName_ = QStringLiteral("vantaquill-weather-%1").arg(++connections);
    bus_ = std::make_unique<QDBusConnection>(systemBusAddress_
                                                 ? QDBusConnection::connectToBus(qtext(*systemBusAddress_), busName_)
                                                 : QDBusConnection::systemBus());
    if (bus_->isConnected()) {
        bus_->connect(login1, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep",
                      relay_.get(), SLOT(relayPrepareForSleep(bool)));
        bus_->connect(networkManager, "/org/freedesktop/NetworkManager", networkManager, "StateChanged", relay_.get(),
                      SLOT(relayNetworkStateChanged(uint)));
        // Waking up and the network coming back are when a stale forecast is worth fetching at once;
        // a timer that slept through its moment is late anyway.
        QObject::connect(relay_.get(), &WeatherSignalRelay::prepareForSleep, relay_.get(), [this](bool sleeping) {
            if (!sleeping)
                refreshIfNeeded();
        });
        QObject::connect(relay_.get(), &WeatherSignalRelay::networkStateChanged, relay_.get(), [this](uint state) {
            const bool down = state < networkConnected;
            const bool cameBack = networkDown_ && !down;
            networkDown_ = down;
            if (cameBack)
                refreshIfNeeded();
        });
        QObject::connect(relay_.get(), &WeatherSignalRelay::locationUpdated, relay_.get(),
                         [this](const QDBusObjectPath&, const QDBusObjectPath& current) { readLocation(current.path()); });
    } else {
        log_("vantaquill: the weather is not refreshed on waking or on reconnecting: no system bus (" +
             bus_->lastError().message().toStdString() + ")");
    }
}

void WeatherProvider::stop() {
    if (!running_)
        return;
    running_ = false;
    ++generation_;
    timer_.reset();
    fetching_ = false;
    if (bus_ && bus_->isConnected() && !geoClueClient_.isEmpty())
        bus_->asyncCall(QDBusMessage::createMethodCall(geoClue, geoClueClient_, geoClueClient, "Stop"));
    geoClueClient_.clear();
    locationAsked_ = false;
    relay_.reset();
    network_.reset();
    bus_.reset();
    if (systemBusAddress_ && !busName_.isEmpty())
        QDBusConnection::disconnectFromBus(busName_);
    busName_.clear();
}

void WeatherProvider::applySettings(WeatherSettings settings) {
    if (settings == settings_)
        return;
    const bool locationChanged = settings.useLocation != settings_.useLocation;
    settings_ = std::move(settings);
    if (locationChanged && !settings_.useLocation && bus_ && bus_->isConnected() && !geoClueClient_.isEmpty()) {
        bus_->asyncCall(QDBusMessage::createMethodCall(geoClue, geoClueClient_, geoClueClient, "Stop"));
        geoClueClient_.clear();
        locationAsked_ = false;
        located_.reset();
    }
    if (locationChanged) {
        error_.clear();
        locationUnavailable_ = false;
    }
    ++generation_;
    fetching_ = false;
    refreshIfNeeded(true);
}

void WeatherProvider::refreshIfNeeded(bool force) {
    if (!running_)
        return;
    const bool wanted = settings_.useLocation || settings_.chosenPlace() || !settings_.typedName().empty();
    // The system bus is asked only once there is weather to show: a desktop without it is not told
    // about a widget nobody uses.
    if (wanted)
        followSystem();
    std::optional<brind::WidgetPlace> place;
    if (settings_.useLocation && !located_ && !locationUnavailable_) {
        askLocation();
        return;
    }
    if (settings_.useLocation && located_) {
        place = located_;
    } else if (auto chosen = settings_.chosenPlace()) {
        place = std::move(chosen);
    } else if (const std::string name = settings_.typedName(); !name.empty()) {
        if (!typedMatch_ || typedMatch_->first != name) {
            resolveTypedName(name);
            return;
        }
        place = typedMatch_->second;
    }
    if (!place) {
        // Nothing to show the weather for: nothing is asked of the network.
        timer_.reset();
        return;
    }
    const brind::Date now = scheduler_.now();
    if (!force && current_ && current_->place == place->displayName() && current_->unit == settings_.unit &&
        current_->forecast.isFresh(now, maxAge)) {
        scheduleAt(std::max(0.0, current_->forecast.fetchedAt.secondsSince1970 + maxAge - now.secondsSince1970));
        return;
    }
    if (fetching_ && !force)
        return;
    fetchFor(*place);
}

void WeatherProvider::get(const std::string& url, Completion completion) {
    QNetworkRequest request{QUrl(QString::fromStdString(url))};
    request.setTransferTimeout(static_cast<int>(requestTimeout * 1000));
    request.setHeader(QNetworkRequest::UserAgentHeader, qtext(userAgent));
    request.setRawHeader("Accept", "application/json");
    QNetworkReply* reply = network_->get(request);
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, completion = std::move(completion)] {
        reply->deleteLater();
        const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (!status.isValid()) {
            const QString why = reply->error() == QNetworkReply::OperationCanceledError
                                    ? QStringLiteral("the weather service did not answer in time")
                                    : reply->errorString();
            return completion(std::unexpected(why.toStdString()));
        }
        const std::string body = reply->readAll().toStdString();
        const int code = status.toInt();
        if (code >= 200 && code < 300)
            return completion(body);
        // The service explains a refusal in its own error form; anything else is only a status.
        const auto refused = brind::WidgetOpenMeteo::decodePlaces(body);
        if (!refused && refused.error().kind == brind::WidgetOpenMeteo::DecodeError::Kind::serviceError)
            return completion(std::unexpected(refused.error().description()));
        completion(std::unexpected("the weather service answered HTTP " + std::to_string(code)));
    });
}

void WeatherProvider::fetchFor(const brind::WidgetPlace& place) {
    const brind::WidgetOpenMeteo openMeteo;
    const std::string url =
        retarget(openMeteo.forecastURL(place.latitude, place.longitude, settings_.unit), openMeteo.forecastHost,
                 settings_.forecastHost);
    const std::uint64_t generation = ++generation_;
    fetching_ = true;
    timer_.reset();
    changed();
    get(url, [this, generation, place, unit = settings_.unit](std::expected<std::string, std::string> answer) {
        if (generation != generation_)
            return;
        fetching_ = false;
        if (!answer)
            return failed(answer.error());
        auto forecast = brind::WidgetOpenMeteo::decodeForecast(*answer, scheduler_.now());
        if (!forecast)
            return failed(forecast.error().description());
        current_ = WeatherForecastFile{place.displayName(), unit, std::move(*forecast)};
        fromDisk_ = false;
        error_.clear();
        if (auto saved = current_->save(forecastFile_); !saved)
            log_("vantaquill: couldn't keep the forecast: " + saved.error());
        scheduleAt(maxAge);
        changed();
    });
}

void WeatherProvider::resolveTypedName(const std::string& name) {
    const brind::WidgetOpenMeteo openMeteo;
    const auto url = openMeteo.geocodeURL(name, language());
    if (!url)
        return;
    const std::uint64_t generation = ++generation_;
    fetching_ = true;
    get(retarget(*url, openMeteo.geocodingHost, settings_.geocodingHost),
        [this, generation, name](std::expected<std::string, std::string> answer) {
            if (generation != generation_)
                return;
            fetching_ = false;
            if (!answer)
                return failed(answer.error());
            const auto places = brind::WidgetOpenMeteo::decodePlaces(*answer);
            if (!places)
                return failed(places.error().description());
            if (places->empty()) {
                error_ = "No place called “" + name + "”.";
                timer_.reset();
                changed();
                return;
            }
            typedMatch_ = {name, places->front()};
            refreshIfNeeded();
        });
}

void WeatherProvider::search(const std::string& query) {
    if (!running_)
        return;
    const brind::WidgetOpenMeteo openMeteo;
    const auto url = openMeteo.geocodeURL(query, language());
    if (!url) {
        searchResults_.clear();
        changed();
        return;
    }
    get(retarget(*url, openMeteo.geocodingHost, settings_.geocodingHost),
        [this, query](std::expected<std::string, std::string> answer) {
            searchResults_.clear();
            if (!answer) {
                error_ = "Couldn't search: " + answer.error();
            } else if (auto places = brind::WidgetOpenMeteo::decodePlaces(*answer); !places) {
                error_ = "Couldn't search: " + places.error().description();
            } else if (places->empty()) {
                error_ = "No place called “" + QString::fromStdString(query).trimmed().toStdString() + "”.";
            } else {
                error_.clear();
                searchResults_ = std::move(*places);
            }
            changed();
        });
}

void WeatherProvider::choose(const brind::WidgetPlace& place) {
    searchResults_.clear();
    WeatherSettings chosen = settings_;
    chosen.city = brind::JSONText::compact(place.json());
    chosen.useLocation = false;
    error_.clear();
    applySettings(std::move(chosen));
    if (onChoose)
        onChoose(place);
    changed();
}

void WeatherProvider::askLocation() {
    if (locationAsked_)
        return;
    locationAsked_ = true;
    const auto unavailable = [this](const QString& why) {
        log_("vantaquill: no location for the weather (" + why.toStdString() + "); it uses the chosen place");
        error_ = std::string(locationOff);
        locationUnavailable_ = true;
        located_.reset();
        changed();
        refreshIfNeeded();
    };
    if (!bus_ || !bus_->isConnected())
        return unavailable(QStringLiteral("no system bus"));
    auto* watcher = new QDBusPendingCallWatcher(
        bus_->asyncCall(QDBusMessage::createMethodCall(geoClue, "/org/freedesktop/GeoClue2/Manager",
                                                       "org.freedesktop.GeoClue2.Manager", "GetClient")),
        relay_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(),
                     [this, unavailable](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<QDBusObjectPath> reply = *finished;
                         if (reply.isError())
                             return unavailable(reply.error().message());
                         geoClueClient_ = reply.value().path();
                         bus_->connect(geoClue, geoClueClient_, geoClueClient, "LocationUpdated", relay_.get(),
                                       SLOT(relayLocationUpdated(QDBusObjectPath,QDBusObjectPath)));
                         for (const auto& [name, value] :
                              {std::pair<QString, QVariant>{"DesktopId", QString(desktopID)},
                               {"RequestedAccuracyLevel", QVariant::fromValue(cityAccuracy)}}) {
                             auto set = QDBusMessage::createMethodCall(geoClue, geoClueClient_, properties, "Set");
                             set << QString(geoClueClient) << name << QVariant::fromValue(QDBusVariant(value));
                             bus_->asyncCall(set);
                         }
                         auto* started = new QDBusPendingCallWatcher(
                             bus_->asyncCall(QDBusMessage::createMethodCall(geoClue, geoClueClient_, geoClueClient, "Start")),
                             relay_.get());
                         QObject::connect(started, &QDBusPendingCallWatcher::finished, relay_.get(),
                                          [unavailable](QDBusPendingCallWatcher* done) {
                                              done->deleteLater();
                                              const QDBusPendingReply<> answer = *done;
                                              // Refused by the desktop's location permission, or off.
                                              if (answer.isError())
                                                  unavailable(answer.error().message());
                                          });
                     });
}

void WeatherProvider::readLocation(const QString& path) {
    auto call = QDBusMessage::createMethodCall(geoClue, path, properties, "GetAll");
    call << QStringLiteral("org.freedesktop.GeoClue2.Location");
    auto* watcher = new QDBusPendingCallWatcher(bus_->asyncCall(call), relay_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(), [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QVariantMap> reply = *finished;
        if (reply.isError())
            return;
        const QVariantMap values = reply.value();
        const QString description = values.value("Description").toString().trimmed();
        located_ = brind::WidgetPlace{.name = description.isEmpty() ? "Current location" : description.toStdString(),
                                      .latitude = values.value("Latitude").toDouble(),
                                      .longitude = values.value("Longitude").toDouble()};
        locationUnavailable_ = false;
        if (error_ == locationOff)
            error_.clear();
        refreshIfNeeded();
    });
}

void WeatherProvider::scheduleAt(double seconds) {
    timer_ = scheduler_.schedule(seconds, [this] {
        auto fired = std::move(timer_);
        refreshIfNeeded();
    });
}

void WeatherProvider::failed(const std::string& why) {
    const std::string sentence = "Couldn't fetch the weather: " + why;
    // Offline, the same failure comes back at every retry: said once.
    if (sentence != error_)
        log_("vantaquill: " + sentence);
    error_ = sentence;
    scheduleAt(retryDelay);
    changed();
}

void WeatherProvider::changed() {
    if (onChange)
        onChange();
}

} // namespace vq
