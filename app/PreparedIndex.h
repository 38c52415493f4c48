#pragma once

#include "app/MessageList.h"
#include "core/mailstore/MailIndex.h"
#include "core/selection/MessageFilter.h"
#include "core/selection/MessageOrder.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ostrel {

// An index with what makes listing it fast, made once in the background: then a filter over 300,000 messages takes
// about as long as a picture on the screen. Never changes; safe to use from several threads.
class PreparedIndex {
public:
    explicit PreparedIndex(std::shared_ptr<const MailIndex> index);

    const std::shared_ptr<const MailIndex>& index() const { return index_; }
    // All messages in that order.
    std::vector<std::uint32_t> sorted(const SortOrder& order) const { return sortable_.sorted(order); }
    // The messages that pass, in the order given, which holds all.
    MessageList filtered(const MessageFilter& filter, const Calendar& calendar,
                         const std::vector<std::uint32_t>& order) const;
    // The messages of the list, which is of this index, in another order.
    MessageList resorted(const MessageList& list, const std::vector<std::uint32_t>& order) const;

private:
    MessageList picked(const std::vector<std::uint8_t>& isShown, std::size_t count,
                       const std::vector<std::uint32_t>& order) const;

    std::shared_ptr<const MailIndex> index_;
    SearchableMessages searchable_;
    SortableMessages sortable_;
    std::shared_ptr<const MessageLookup> lookup_;
};

}   // namespace ostrel
