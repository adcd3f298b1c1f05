#include "vantaquill/AgentHub.hpp"

#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/agents/AgentRuleBook.hpp"
#include "BrindKit/agents/AgentSession.hpp"
#include "BrindKit/agents/AgentSessionChange.hpp"
#include "vantaquill/AgentWaitingActivity.hpp"

namespace vq {

AgentHub::AgentHub(Scheduler& scheduler, std::filesystem::path dataFolder, HeadlessDisplay& display,
                   LiveActivityCenter& center, MainThread mainThread, double pruneInterval)
    : scheduler(scheduler), rulesFile(dataFolder / brind::AgentRuleBook::fileName), display(display),
      center(center), onMain(std::move(mainThread)), pruneInterval(pruneInterval), usage(onMain) {
    usage.onUsage = [this](const std::string& key, const brind::AgentUsage& read) { showUsage(key, read); };
    if (auto book = brind::AgentRuleBook::load(rulesFile)) {
        broker_.setRuleBook(std::move(*book));
    } else {
        rulesFileReadable = false;
        display.error("couldn't read " + rulesFile.filename().string() + ": " + book.error());
    }

    // The broker reports from the SDK thread; the tracker and the display live on the main thread.
    std::weak_ptr<bool> alive = this->alive;
    broker_.onChange = [this, alive] {
        onMain([this, alive] {
            if (alive.lock())
                showApprovals();
        });
    };
    broker_.onResolved = [this, alive](const std::string& key, brind::Date at) {
        onMain([this, alive, key, at] {
            if (!alive.lock())
                return;
            tracker_.approvalResolved(key, at);
            showSession(key);
            changed();
        });
    };
}

AgentHub::~AgentHub() {
    *alive = false;
    broker_.onChange = nullptr;
    broker_.onResolved = nullptr;
}

std::expected<void, std::string> AgentHub::addRule(const brind::AgentAllowRule& rule) {
    brind::AgentRuleBook book = broker_.ruleBook();
    if (!book.add(rule))
        return {};
    broker_.setRuleBook(book);
    display.line("agent rule added " + HeadlessDisplay::field("rule", rule.display()));
    changed();
    return saveRules(book);
}

AgentHub::AlwaysAllowed AgentHub::alwaysAllow(const std::string& id, brind::AgentAllowRule rule) {
    rule.createdAt = scheduler.now();
    AlwaysAllowed outcome{.saved = addRule(rule)};
    for (const auto& request : broker_.openRequests()) {
        // Questions are the user's to answer, whatever the rules say.
        const bool interactive =
            request.event.toolName && brind::AgentInteraction::isInteractiveTool(*request.event.toolName);
        if (request.id != id && !interactive && rule.matches(request.event))
            broker_.answer(request.id, brind::AgentDecision::allow(), scheduler.now());
    }
    outcome.resumed = broker_.answer(id, brind::AgentDecision::allow(), scheduler.now());
    return outcome;
}

std::expected<void, std::string> AgentHub::removeRule(std::string_view id) {
    brind::AgentRuleBook book = broker_.ruleBook();
    if (!book.remove(id))
        return {};
    broker_.setRuleBook(book);
    display.line("agent rule removed " + HeadlessDisplay::field("id", id));
    changed();
    return saveRules(book);
}

std::expected<void, std::string> AgentHub::saveRules(const brind::AgentRuleBook& book) {
    const std::string name = rulesFile.filename().string();
    if (!rulesFileReadable)
        return std::unexpected(name + " could not be read, so it is left as it is: the change holds until vantaquill quits");
    if (auto saved = book.save(rulesFile); !saved)
        return std::unexpected("couldn't write " + name + ": " + saved.error() + "; the change holds until vantaquill quits");
    return {};
}

void AgentHub::changed() {
    if (onChange)
        onChange();
}

void AgentHub::apply(const brind::AgentHookEvent& event) {
    const auto changes = tracker_.apply(event);
    for (const auto& change : changes)
        display.line("agent " + std::string(brind::name(change.kind)) + " key=" + change.key);
    const std::string key = brind::AgentSession::key(event.agent, event.sessionID);
    showSession(key);
    followUsage(key);
    changed();
    if (!pruneTimer)
        schedulePrune();
}

void AgentHub::prune() {
    const auto forgotten = tracker_.prune(scheduler.now());
    for (const auto& key : forgotten) {
        display.line("agent forgotten key=" + key);
        shownSessions.erase(key);
        usage.forget(key);
    }
    if (!forgotten.empty())
        changed();
}

void AgentHub::schedulePrune() {
    pruneTimer = scheduler.schedule(pruneInterval, [this] {
        auto fired = std::move(pruneTimer);
        prune();
        // With nothing left to forget the sweep waits for the next session instead of waking the
        // island every interval.
        if (!tracker_.sessions.empty() || !tracker_.recentlyEnded.empty())
            schedulePrune();
    });
}

void AgentHub::showSession(const std::string& key) {
    const auto found = tracker_.sessions.find(key);
    if (found == tracker_.sessions.end()) {
        shownSessions.erase(key);
        return;
    }
    const brind::AgentSession& session = found->second;
    std::string line = "agent session key=" + key + " agent=" + std::string(brind::name(session.agent)) +
                       " status=" + std::string(brind::name(session.status)) + " " +
                       HeadlessDisplay::field("project", session.project);
    if (session.lastTool)
        line += " " + HeadlessDisplay::field("tool", *session.lastTool);
    if (session.lastToolSummary)
        line += " " + HeadlessDisplay::field("summary", *session.lastToolSummary);
    if (session.lastMessage)
        line += " " + HeadlessDisplay::field("message", *session.lastMessage);
    // Only what changed is worth a line: a busy agent calls its hooks on every tool use.
    auto& shown = shownSessions[key];
    if (shown == line)
        return;
    shown = line;
    display.line(line);
}

void AgentHub::followUsage(const std::string& key) {
    const auto found = tracker_.sessions.find(key);
    if (found == tracker_.sessions.end()) {
        usage.forget(key);
        return;
    }
    const brind::AgentSession& session = found->second;
    // Cursor's transcript carries no usage; Gemini CLI keeps one JSON document rewritten whole.
    const bool readable = session.agent == brind::AgentKind::claudeCode ||
                          session.agent == brind::AgentKind::codex || session.agent == brind::AgentKind::gemini;
    if (readable && session.transcriptPath)
        usage.touched(key, *session.transcriptPath, session.agent == brind::AgentKind::gemini);
}

void AgentHub::showUsage(const std::string& key, const brind::AgentUsage& read) {
    const auto found = tracker_.sessions.find(key);
    if (found == tracker_.sessions.end())
        return;
    found->second.usage = read;
    std::string line = "agent usage key=" + key + " tokens=" + std::to_string(read.spent()) +
                       " input=" + std::to_string(read.inputTokens) + " output=" + std::to_string(read.outputTokens) +
                       " cacheRead=" + std::to_string(read.cacheReadTokens) +
                       " cacheWritten=" + std::to_string(read.cacheWrittenTokens);
    if (read.contextTokens)
        line += " context=" + std::to_string(*read.contextTokens);
    display.line(line);
    changed();
}

void AgentHub::showApprovals() {
    const auto requests = broker_.openRequests();
    if (auto waiting = AgentWaitingActivity::make(requests))
        center.post(std::move(*waiting));
    else
        center.endAll(AgentWaitingActivity::source);
    std::set<std::string> open;
    for (const auto& request : requests) {
        open.insert(request.id);
        if (shownApprovals.contains(request.id))
            continue;
        const auto& event = request.event;
        std::string line = "approval waiting id=" + request.id + " agent=" + std::string(brind::name(event.agent)) +
                           " session=" + brind::AgentSession::key(event.agent, event.sessionID);
        if (event.toolName)
            line += " " + HeadlessDisplay::field("tool", *event.toolName);
        if (event.toolSummary)
            line += " " + HeadlessDisplay::field("summary", *event.toolSummary);
        line += " deadline=" + request.deadline.iso8601();
        display.line(line);
    }
    for (const auto& id : shownApprovals) {
        if (!open.contains(id))
            display.line("approval closed id=" + id);
    }
    shownApprovals = std::move(open);
    changed();
}

} // namespace vq
