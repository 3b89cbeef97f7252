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
    if ((m_state.fetch_add(call) & ended) == 0) {
        // Whoever made the change is not to suffer from it.
        try {
            m_function(changes);
        } catch (std::exception const& exception) {
            LOG_ERROR(unit, "Subscription - a function that was told of changes threw: %s\n", exception.what());
        } catch (...) {
            LOG_ERROR(unit, "Subscription - a function that was told of changes threw\n");
        }
    }
    if ((m_state.fetch_sub(call) & ended) != 0)
        m_state.notify_all();
}

void Subscriber::waitForCalls()
{
    for (int state = m_state.load(); state >= call; state = m_state.load())
        m_state.wait(state);
    m_function = nullptr;
}

} // namespace Data
