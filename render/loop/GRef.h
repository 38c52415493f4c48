#pragma once

#include "platform/Releaser.h"

#include <memory>
#include <utility>

#include <glib-object.h>

// Reference counting of the C libraries, for this folder's sources only: nothing here shows in a public header.
namespace ostrel {

// Owns one reference to a GObject.
template <class T>
class GRef {
public:
    GRef() = default;
    // Takes over a reference that was given to us.
    static GRef adopt(T* object) { return GRef(object); }
    // Adds a reference to an object that was lent, or takes a floating one.
    static GRef retain(T* object) { return GRef(object ? static_cast<T*>(g_object_ref_sink(object)) : nullptr); }

    GRef(const GRef& other) : GRef(retain(other.object_)) {}
    GRef(GRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    GRef& operator=(GRef other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~GRef() {
        if (object_) g_object_unref(object_);
    }

    T* get() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    explicit GRef(T* object) : object_(object) {}
    T* object_ = nullptr;
};

using GChars = std::unique_ptr<char, Releaser<g_free>>;
using GErrorPtr = std::unique_ptr<GError, Releaser<g_error_free>>;
using GBytesPtr = std::unique_ptr<GBytes, Releaser<g_bytes_unref>>;

// A signal handler that disconnects itself. Keeps the sender alive.
class SignalHandler {
public:
    SignalHandler() = default;
    SignalHandler(gpointer sender, const char* signal, GCallback handler, gpointer data)
        : sender_(GRef<GObject>::retain(G_OBJECT(sender))), id_(g_signal_connect(sender, signal, handler, data)) {}
    SignalHandler(SignalHandler&& other) noexcept
        : sender_(std::move(other.sender_)), id_(std::exchange(other.id_, 0)) {}
    SignalHandler& operator=(SignalHandler other) noexcept {
        std::swap(sender_, other.sender_);
        std::swap(id_, other.id_);
        return *this;
    }
    ~SignalHandler() {
        if (id_) g_signal_handler_disconnect(sender_.get(), id_);
    }

private:
    GRef<GObject> sender_;
    gulong id_ = 0;
};

}   // namespace ostrel
