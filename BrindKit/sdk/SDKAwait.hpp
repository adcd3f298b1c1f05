#pragma once

#include <asio.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace brind::SDKAwait {

/// Suspends the calling coroutine until `start`'s callback delivers a value, or `timeout` passes
/// (nothing then). The callback may be called from any thread, at most once counts; the value is
/// handed back on the coroutine's own executor, so the SDK thread never blocks while it waits.
template <typename T, typename Start>
asio::awaitable<std::optional<T>> answer(std::chrono::steady_clock::duration timeout, Start start) {
    struct Pending {
        explicit Pending(asio::any_io_executor executor) : timer(std::move(executor)) {}
        asio::steady_timer timer;
        std::optional<T> value;
    };
    auto executor = co_await asio::this_coro::executor;
    auto pending = std::make_shared<Pending>(executor);
    pending->timer.expires_after(timeout);
    start(std::function<void(T)>([pending, executor](T value) {
        asio::post(executor, [pending, value = std::move(value)]() mutable {
            if (pending->value)
                return;
            pending->value = std::move(value);
            pending->timer.cancel();
        });
    }));
    // The executor runs on one thread: a value posted before this wait begins is delivered only
    // once the coroutine is suspended here, and its cancel then ends the wait.
    asio::error_code ignored;
    co_await pending->timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    co_return pending->value;
}

} // namespace brind::SDKAwait
