#include "cli/Serving.h"

#include "cli/Answer.h"

namespace Tool {

Serving::Serving(Invocation& holder) : m_holder(holder)
{
    holder.feed = &m_feed;
    m_server = Server::start(
        *holder.workbench, m_feed,
        [&holder](Message const& request, Peer const& sender) { return answer(holder, request, sender); }, m_failure);
}

Serving::~Serving()
{
    m_server.reset();
    m_holder.feed = nullptr;
}

} // namespace Tool
