#pragma once

// What the page tests share: reading a result as text, and running a script
// in a page under test.

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <memory>
#include <optional>
#include <string>

#include "FermoTestService.h"
#include "LXHotelsFermo/LXFermoOffer.h"
#include "support/MainLoop.h"

namespace lxhf::test {

inline std::string describe(const std::optional<LXFermoPurchaseResult>& result) {
    if (!result) return "none";
    switch (result->kind()) {
        case LXFermoPurchaseResult::Kind::purchased: return "purchased";
        case LXFermoPurchaseResult::Kind::cancelled: return "cancelled";
        case LXFermoPurchaseResult::Kind::invalid: return "invalid";
        case LXFermoPurchaseResult::Kind::error: return "error: " + result->errorInfo()->message();
    }
    return "?";
}

// Runs a script in the page; its value as text.
inline std::string evaluate(WebKitWebView* view, const std::string& script, double patience = 60.0) {
    auto text = std::make_shared<std::optional<std::string>>();
    webkit_web_view_evaluate_javascript(
        view, script.c_str(), -1, nullptr, nullptr, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<std::shared_ptr<std::optional<std::string>>> out(
                static_cast<std::shared_ptr<std::optional<std::string>>*>(data));
            JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, nullptr);
            char* str = value ? jsc_value_to_string(value) : g_strdup("(script failed)");
            **out = str;
            g_free(str);
            if (value) g_object_unref(value);
        },
        new std::shared_ptr<std::optional<std::string>>(text));
    EXPECT_TRUE(runMainLoopUntil([&] { return text->has_value(); }, patience));
    return text->value_or("");
}

// The local service a page test suite shares, started once a display is
// known to be there; null without one.
inline testing::FermoTestService* startServiceWithDisplay() {
    if (!gtk_init_check()) return nullptr;
    auto* service = new testing::FermoTestService();
    std::string error;
    if (!service->startOnOwnThread(&error)) ADD_FAILURE() << "test service: " << error;
    return service;
}

}  // namespace lxhf::test
