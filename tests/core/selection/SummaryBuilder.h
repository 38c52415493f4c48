#pragma once

#include "core/mailstore/MailIndex.h"

#include <string>
#include <utility>
#include <vector>

namespace ostrel {

// A summary that reads like mail: mail("1").from("Kim Lee", "kim@x.org").subject("Hi").
class SummaryBuilder {
public:
    explicit SummaryBuilder(const std::string& file) { summary_.url = "/mail/" + file + ".emlx"; }
    SummaryBuilder& in(std::string mailbox) { return summary_.mailboxID = std::move(mailbox), *this; }
    SummaryBuilder& from(std::string name, std::string email) { return add(from_, name, email); }
    SummaryBuilder& to(std::string name, std::string email) { return add(to_, name, email); }
    SummaryBuilder& cc(std::string name, std::string email) { return add(cc_, name, email); }
    SummaryBuilder& subject(std::string subject) { return summary_.subject = std::move(subject), *this; }
    SummaryBuilder& date(Instant date) { return summary_.date = date, *this; }
    SummaryBuilder& id(std::string identifier) { return summary_.messageID = std::move(identifier), *this; }
    SummaryBuilder& replyTo(std::string identifier) { return inReplyTo_.push_back(std::move(identifier)), *this; }
    SummaryBuilder& reference(std::string identifier) { return references_.push_back(std::move(identifier)), *this; }
    operator MessageSummary() const {
        MessageSummary summary = summary_;
        summary.from = from_;
        summary.to = to_;
        summary.cc = cc_;
        summary.inReplyTo = inReplyTo_;
        summary.references = references_;
        return summary;
    }

private:
    SummaryBuilder& add(std::vector<MailAddress>& list, std::string& name, std::string& email) {
        return list.push_back({std::move(name), std::move(email)}), *this;
    }
    MessageSummary summary_;
    std::vector<MailAddress> from_, to_, cc_;
    std::vector<std::string> inReplyTo_, references_;
};

inline SummaryBuilder mail(const std::string& file) { return SummaryBuilder(file); }

}   // namespace ostrel
