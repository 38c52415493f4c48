#include "app/PreparedIndex.h"

#include <utility>

namespace ostrel {

PreparedIndex::PreparedIndex(std::shared_ptr<const MailIndex> index)
    : index_(std::move(index)),
      searchable_(index_->messages),
      sortable_(index_->messages),
      lookup_(std::make_shared<const MessageLookup>(*index_)) {}

MessageList PreparedIndex::filtered(const MessageFilter& filter, const Calendar& calendar,
                                    const std::vector<std::uint32_t>& order) const {
    const auto passing = filter.matches(searchable_, calendar);
    std::vector<std::uint8_t> isShown(order.size(), 0);
    for (const auto position : passing) isShown[position] = 1;
    return picked(isShown, passing.size(), order);
}

MessageList PreparedIndex::resorted(const MessageList& list, const std::vector<std::uint32_t>& order) const {
    std::vector<std::uint8_t> isShown(order.size(), 0);
    for (std::size_t row = 0; row < list.size(); ++row) isShown[list.position(row)] = 1;
    return picked(isShown, list.size(), order);
}

MessageList PreparedIndex::picked(const std::vector<std::uint8_t>& isShown, std::size_t count,
                                  const std::vector<std::uint32_t>& order) const {
    std::vector<std::uint32_t> rows;
    rows.reserve(count);
    for (const auto position : order) {
        if (isShown[position]) rows.push_back(position);
    }
    return MessageList(index_, std::move(rows), lookup_);
}

}   // namespace ostrel
