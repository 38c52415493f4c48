#include "core/archive/ArchivedMessage.h"

#include "platform/JsonWriter.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

#include <nlohmann/json.hpp>

namespace ostrel {

namespace {

using State = FiledMessage::State;

constexpr std::array<std::pair<State, const char*>, 4> stateWords = {
    {{State::whole, "whole"}, {State::unread, "unread"}, {State::unsaved, "unsaved"}, {State::unprinted, "unprinted"}}};

void write(JsonWriter& json, const std::vector<MailAddress>& addresses) {
    json.open('[');
    for (const MailAddress& address : addresses) json.open('[').text(address.name).text(address.email).close(']');
    json.close(']');
}

void write(JsonWriter& json, const TextList& texts) {
    json.open('[');
    for (const std::string_view text : texts.texts()) json.text(text);
    json.close(']');
}

std::int64_t microseconds(Instant when) { return when.time_since_epoch().count(); }

// Takes the lines apart as they are parsed: no tree is built of what a stranger may have nested a million deep. Every
// call answers whether the line can still be one of ours.
class LineReader : public nlohmann::json_sax<nlohmann::json> {
public:
    ArchiveLine::Line take() {
        using namespace ArchiveLine;
        if (claim_ && keys_ == 1 && isArchiveName(*claim_)) return Claim{std::move(*claim_)};
        if (run_ && keys_ == 1 && (*run_ == "export" || *run_ == "update")) return Beginning{*run_ == "update"};
        if (claim_ || run_ || !namesOnlyItsOwn()) return {};
        ArchivedMessage message = std::move(message_);
        message.summary.from = std::move(from_);
        message.summary.to = std::move(to_);
        message.summary.cc = std::move(cc_);
        message.summary.inReplyTo = inReplyTo_;
        message.summary.references = references_;
        return message;
    }

    bool null() override { return false; }
    bool number_float(number_float_t, const string_t&) override { return false; }
    bool binary(binary_t&) override { return false; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

    bool boolean(bool value) override {
        if (depth_ != 1 || key_ != "lacksAttachments") return false;
        message_.lacksAttachments = value;
        return true;
    }
    bool number_integer(number_integer_t value) override {
        if (depth_ != 1) return false;
        if (key_ == "date") {
            message_.summary.date = Instant(Instant::duration(value));
        } else if (key_ == "modified") {
            message_.modified = Instant(Instant::duration(value));
        } else {
            return false;
        }
        return true;
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (depth_ == 1 && key_ == "size") {
            message_.size = value;
            return true;
        }
        return value <= INT64_MAX && number_integer(static_cast<number_integer_t>(value));
    }
    bool string(string_t& value) override {
        if (depth_ == 1) return topText(value);
        if (depth_ == 2 && key_ == "files") return file(value);
        if (depth_ == 2 && texts() != nullptr) {
            texts()->push_back(std::move(value));
            return true;
        }
        return depth_ == 3 && addresses() != nullptr && addressText(value);
    }
    bool start_object(std::size_t) override { return ++depth_ == 1 || (depth_ == 2 && key_ == "files"); }
    bool end_object() override { return --depth_ >= 0; }
    bool start_array(std::size_t) override {
        ++depth_;
        if (depth_ == 2) return texts() != nullptr || addresses() != nullptr;
        if (depth_ != 3 || addresses() == nullptr) return false;
        addresses()->emplace_back();
        addressTexts_ = 0;
        return true;
    }
    bool end_array() override {
        const bool isAddress = depth_ == 3;
        --depth_;
        return !isAddress || addressTexts_ == 2;
    }
    bool key(string_t& value) override {
        if (depth_ == 2) {
            fileName_ = std::move(value);
        } else {
            key_ = std::move(value);
            ++keys_;
        }
        return true;
    }

private:
    bool topText(string_t& value) {
        const std::array<std::pair<const char*, std::string*>, 5> plain = {{{"name", &message_.name},
                                                                            {"simplified", &message_.simplified},
                                                                            {"path", &message_.path},
                                                                            {"mailbox", &message_.mailbox},
                                                                            {"subject", &message_.summary.subject}}};
        for (const auto& [word, field] : plain) {
            if (key_ != word) continue;
            *field = std::move(value);
            return true;
        }
        if (key_ == "sha256") return (message_.digest = digestOf(value)).has_value();
        if (key_ == "state") return state(value);
        if (key_ != "messageID" && key_ != "claim" && key_ != "run") return false;
        (key_ == "messageID" ? message_.summary.messageID : key_ == "claim" ? claim_ : run_) = std::move(value);
        return true;
    }
    bool state(const string_t& value) {
        const auto* const found =
            std::ranges::find_if(stateWords, [&](const auto& state) { return value == state.second; });
        if (found == stateWords.end()) return false;
        message_.state = found->first;
        return true;
    }
    bool file(const string_t& value) {
        const auto digest = digestOf(value);
        if (digest) message_.files.push_back({std::move(fileName_), *digest});
        return digest.has_value();
    }
    bool addressText(string_t& value) {
        MailAddress& address = addresses()->back();
        if (++addressTexts_ > 2) return false;
        (addressTexts_ == 1 ? address.name : address.email) = std::move(value);
        return true;
    }
    std::vector<std::string>* texts() {
        return key_ == "inReplyTo" ? &inReplyTo_ : key_ == "references" ? &references_ : nullptr;
    }
    std::vector<MailAddress>* addresses() {
        return key_ == "from" ? &from_ : key_ == "to" ? &to_ : key_ == "cc" ? &cc_ : nullptr;
    }
    // A name, and files that no other message can have: the PDF first.
    bool namesOnlyItsOwn() const {
        if (!isPlainName(message_.name) || !isPlainName(message_.pdfName())) return false;
        bool isFirst = true;
        for (const ArchivedFile& file : message_.files) {
            const bool isPDF = isFirst && file.name == message_.pdfName();
            const bool isAttachment = file.name.starts_with(message_.name + "/") && isArchiveName(file.name);
            if (!isPDF && !isAttachment) return false;
            isFirst = false;
        }
        return true;
    }

    int depth_ = 0;
    std::string key_, fileName_;
    std::size_t keys_ = 0;
    int addressTexts_ = 0;
    ArchivedMessage message_;
    std::vector<MailAddress> from_, to_, cc_;
    std::vector<std::string> inReplyTo_, references_;
    std::optional<std::string> claim_, run_;
};

}   // namespace

std::string ArchiveLine::write(const FiledMessage& message, const MessageSummary& summary, const std::string& mailbox) {
    std::ostringstream out;
    JsonWriter json(out);
    json.open('{').key("name").text(message.name);
    if (message.state != State::whole) {
        const auto* const state = std::ranges::find(stateWords, message.state, [](const auto& s) { return s.first; });
        json.key("state").text(state->second);
    }
    json.key("files").open('{');
    for (const ArchivedFile& file : message.files) json.key(file.name).text(hexOf(file.digest));
    json.close('}');
    if (message.lacksAttachments) json.key("lacksAttachments").boolean(true);
    if (!message.simplified.empty()) json.key("simplified").text(message.simplified);
    if (message.digest) json.key("sha256").text(hexOf(*message.digest));
    if (summary.messageID) json.key("messageID").text(*summary.messageID);
    ostrel::write(json.key("inReplyTo"), summary.inReplyTo);
    ostrel::write(json.key("references"), summary.references);
    json.key("date").signedNumber(microseconds(summary.date)).key("subject").text(summary.subject);
    ostrel::write(json.key("from"), summary.from);
    ostrel::write(json.key("to"), summary.to);
    ostrel::write(json.key("cc"), summary.cc);
    json.key("mailbox").text(mailbox).key("path").text(message.path).key("size").number(message.size);
    json.key("modified").signedNumber(microseconds(message.modified)).close('}');
    return std::move(out).str();
}

std::string ArchiveLine::write(const Claim& claim) {
    std::ostringstream out;
    JsonWriter(out).open('{').key("claim").text(claim.name).close('}');
    return std::move(out).str();
}

std::string ArchiveLine::write(Beginning beginning) {
    std::ostringstream out;
    JsonWriter(out).open('{').key("run").text(beginning.isUpdate ? "update" : "export").close('}');
    return std::move(out).str();
}

ArchiveLine::Line ArchiveLine::parse(std::string_view line) {
    LineReader reader;
    return nlohmann::json::sax_parse(line.begin(), line.end(), &reader) ? reader.take() : Line();
}

}   // namespace ostrel
