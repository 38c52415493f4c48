#pragma once

#include "core/mailstore/MailIndex.h"

#include <string>
#include <utility>

namespace ostrel {

// A summary that reads like mail: mail("1").from("Kim Lee", "kim@x.org").subject("Hi").
class SummaryBuilder {
public:
    explicit SummaryBuilder(const std::string& file) { summary_.url = "/mail/" + file + ".emlx"; }
    SummaryBuilder& in(std::string mailbox) { return summary_.mailboxID = std::move(mailbox), *this; }
    SummaryBuilder& from(std::string name, std::string email) { return add(summary_.from, name, email); }
    SummaryBuilder& to(std::string name, std::string email) { return add(summary_.to, name, email); }
    SummaryBuilder& cc(std::string name, std::string email) { return add(summary_.cc, name, email); }
    SummaryBuilder& subject(std::string subject) { return summary_.subject = std::move(subject), *this; }
    SummaryBuilder& date(Instant date) { return summary_.date = date, *this; }
    SummaryBuilder& id(std::string identifier) { return summary_.messageID = std::move(identifier), *this; }
    SummaryBuilder& replyTo(std::string identifier) {
        return summary_.inReplyTo.push_back(std::move(identifier)), *this;
    }
    SummaryBuilder& reference(std::string identifier) {
        return summary_.references.push_back(std::move(identifier)), *this;
    }
    operator MessageSummary() const { return summary_; }

private:
    SummaryBuilder& add(std::vector<MailAddress>& list, std::string& name, std::string& email) {
        return list.push_back({std::move(name), std::move(email)}), *this;
    }
    MessageSummary summary_;
};

inline SummaryBuilder mail(const std::string& file) { return SummaryBuilder(file); }

}   // namespace ostrel
