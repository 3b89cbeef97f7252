#include "Setting/Subscriber.h"

#include "Log.h"

#include <exception>
#include <utility>

namespace Data {

namespace {

constexpr char const* unit = "./src/Setting";

} // namespace

Subscriber::Subscriber(std::function<void(BulkData const&)> function) : m_function(std::move(function)) {}

void Subscriber::onDataUpdate(BulkData& changes)
{
    // Counts the call, also when the log throws.
    struct Call {
        explicit Call(std::atomic<int>& counter) : state(counter), isWanted((state.fetch_add(call) & ended) == 0) {}
        ~Call()
        {
            if ((state.fetch_sub(call) & ended) != 0)
                state.notify_all();
        }
        Call(Call const&) = delete;
        Call& operator=(Call const&) = delete;

        std::atomic<int>& state;
        bool const isWanted;
    } const present(m_state);
    if (present.isWanted) {
        // Whoever made the change is not to suffer from it.
        try {
            m_function(changes);
        } catch (std::exception const& exception) {
            LOG_ERROR(unit, "Subscription - a function that was told of changes threw: %s\n", exception.what());
        } catch (...) {
            LOG_ERROR(unit, "Subscription - a function that was told of changes threw\n");
        }
    }
}

void Subscriber::waitForCalls()
{
    for (int state = m_state.load(); state >= call; state = m_state.load())
        m_state.wait(state);
    m_function = nullptr;
}

} // namespace Data
