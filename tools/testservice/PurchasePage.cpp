// The purchase page the client's web view opens: what a real one shows, in
// plain form, with its query items behind a disclosure for developers. It
// talks to the client only through window.CorvaneSDKBridge.event(name, data).

#include "ServiceState.h"

#include <array>

namespace lxhf::testing {

using nlohmann::json;

namespace {

constexpr std::array<std::string_view, 9> kItemNames = {
    "token", "priceInclusive", "imageUrl", "hotel", "extAttributes",
    "sessionId", "offer", "clientRegion", "featureFlags"};

constexpr std::string_view kPageHead = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Fermo purchase</title>
<style>
body { font-family: system-ui, sans-serif; margin: 0; color: #1d2433; background: #f4f6fa; }
main { max-width: 34em; margin: 2em auto; padding: 1.6em 2em; background: #fff;
       border-radius: 12px; box-shadow: 0 1px 4px rgba(0,0,0,0.12); }
h1 { font-size: 1.5em; margin: 0 0 0.2em; }
.where { color: #5a6478; margin: 0 0 1.2em; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 0.5em 1.2em; margin: 0 0 1.5em; }
dt { color: #5a6478; }
dd { margin: 0; font-weight: 600; }
.price { font-size: 1.6em; }
.actions { display: flex; gap: 0.6em; flex-wrap: wrap; }
button { font: inherit; padding: 0.55em 1.2em; border-radius: 8px; border: 1px solid #b8c0cf;
         background: #fff; cursor: pointer; }
button.primary { background: #1a5fd0; border-color: #1a5fd0; color: #fff; }
details { margin-top: 1.8em; color: #5a6478; }
td { vertical-align: top; padding: 0.2em 0.6em; }
pre { margin: 0; white-space: pre-wrap; word-break: break-all; font-size: 0.85em; }
#events { font-size: 0.85em; }
</style>
<script>
(function () {
  'use strict';
  var NAMES = ['token', 'priceInclusive', 'imageUrl', 'hotel', 'extAttributes',
               'sessionId', 'offer', 'clientRegion', 'featureFlags'];
  // These arrive escaped twice: once as JSON text for the page, once by the URL builder.
  var ESCAPED_TWICE = { imageUrl: 1, hotel: 1, extAttributes: 1, offer: 1, featureFlags: 1 };
  var JSON_ITEMS = { hotel: 1, extAttributes: 1, offer: 1, featureFlags: 1 };

  function decode(text) {
    try { return decodeURIComponent(text); } catch (e) { return text; }
  }
  // Not URLSearchParams: it would read '+' as a space, which the client never means.
  function readQuery() {
    var items = {};
    window.location.search.replace(/^\?/, '').split('&').forEach(function (part) {
      if (!part) { return; }
      var eq = part.indexOf('=');
      items[decode(eq < 0 ? part : part.slice(0, eq))] = eq < 0 ? null : decode(part.slice(eq + 1));
    });
    return items;
  }
  function jsonItem(items, name) {
    var value = items[name];
    if (typeof value !== 'string') { return null; }
    try { return JSON.parse(ESCAPED_TWICE[name] ? decode(value) : value); } catch (e) { return null; }
  }
  function note(text) {
    var line = document.createElement('li');
    line.textContent = text;
    document.getElementById('events').appendChild(line);
  }
  function send(name, data) {
    note(name);
    var bridge = window.CorvaneSDKBridge;
    if (!bridge || typeof bridge.event !== 'function') { note('(no CorvaneSDKBridge)'); return; }
    if (data === undefined) { bridge.event(name); } else { bridge.event(name, data); }
  }
  function later(steps) {
    if (!steps.length) { return; }
    window.setTimeout(function () { steps[0](); later(steps.slice(1)); }, 50);
  }
  // The first of the keys the object has, in either key style.
  function pick(object, keys) {
    for (var i = 0; object && i < keys.length; ++i) {
      if (object[keys[i]] !== undefined && object[keys[i]] !== null) { return object[keys[i]]; }
    }
    return undefined;
  }
  function money(amount, currency) {
    var value = Number(amount);
    if (amount === undefined || !isFinite(value)) { return '—'; }
    try {
      return new Intl.NumberFormat('en', { style: 'currency', currency: currency || 'EUR' }).format(value);
    } catch (e) { return value.toFixed(2) + ' ' + (currency || ''); }
  }
  function when(text) {
    var date = new Date(text);
    if (!text || isNaN(date.getTime())) { return '—'; }
    return date.toLocaleString('en', { dateStyle: 'medium', timeStyle: 'short' });
  }
  function set(id, text) { document.getElementById(id).textContent = text; }
  // What a traveller reads: the hotel, the room, the price held, the deposit, how long.
  function summarise(items) {
    var hotel = jsonItem(items, 'hotel') || {};
    var response = jsonItem(items, 'offer') || {};
    var offer = response.offer || {};
    var room = offer.room || {};
    var conditions = offer.conditions || {};
    var currency = pick(conditions, ['currency']);
    set('hotel', pick(hotel, ['name']) || 'Your hotel');
    set('city', pick(hotel, ['address_city', 'addressCity']) || '');
    set('room', pick(room, ['name', 'room_type', 'roomType']) || '—');
    set('price', money(pick(conditions, ['frozen_price', 'frozenPrice']), currency));
    set('deposit', money(pick(conditions, ['deposit']), currency));
    set('until', when(pick(conditions, ['freeze_expiry', 'freezeExpiry'])));
    set('offer-until', when(pick(conditions, ['offer_expiry', 'offerExpiry'])));
  }
  function showRaw(items) {
    var table = document.getElementById('items');
    NAMES.forEach(function (name) {
      var value = Object.prototype.hasOwnProperty.call(items, name) ? items[name] : undefined;
      var text = value === undefined ? '(missing)' : value === null ? '(no value)' : value;
      if (typeof value === 'string' && ESCAPED_TWICE[name]) { text = decode(value); }
      if (typeof value === 'string' && JSON_ITEMS[name]) {
        try { text = JSON.stringify(JSON.parse(text), null, 2); } catch (e) { text += '  (not JSON)'; }
      }
      var row = table.insertRow();
      row.insertCell().textContent = name;
      var pre = document.createElement('pre');
      pre.id = 'item-' + name;
      pre.textContent = text;
      row.insertCell().appendChild(pre);
    });
  }
  var SCRIPTS = {
    'ready': function () { send('ready'); },
    'purchase': function () {
      send('ready');
      later([function () { send('purchased'); }, function () { send('close'); }]);
    },
    'close': function () { send('close'); },
    'error': function () { send('error', { message: 'Card declined' }); },
    'error-nomessage': function () { send('error'); },
    'newwindow': function () {
      send('ready');
      later([function () { document.getElementById('terms').click(); }]);
    },
    'never-ready': function () {}
  };
  document.addEventListener('DOMContentLoaded', function () {
    var items = readQuery();
    summarise(items);
    showRaw(items);
    document.getElementById('hold').addEventListener('click', function () {
      send('purchased'); send('close');
    });
    document.getElementById('cancel').addEventListener('click', function () { send('close'); });
    document.getElementById('fail').addEventListener('click', function () {
      send('error', { message: 'The payment was declined (demo)' });
    });
    var script = document.body.getAttribute('data-lxtest');
    (SCRIPTS[script] || SCRIPTS.ready)();
  });
})();
</script></head>
)";

constexpr std::string_view kPageBody = R"(
<main>
<h1>Hold this price at <span id="hotel"></span></h1>
<p class="where"><span id="city"></span></p>
<dl>
  <dt>Room</dt><dd id="room"></dd>
  <dt>Price held</dt><dd class="price" id="price"></dd>
  <dt>Deposit today</dt><dd id="deposit"></dd>
  <dt>Held until</dt><dd id="until"></dd>
  <dt>Offer open until</dt><dd id="offer-until"></dd>
</dl>
<div class="actions">
  <button id="hold" class="primary">Hold this price</button>
  <button id="cancel">Cancel</button>
  <button id="fail">Fail</button>
</div>
<p><a id="terms" href="/cloud/hotels/terms" target="_blank">Terms</a></p>
<details><summary>For developers: what the page was given</summary>
<table id="items"></table>
<p>Events sent:</p>
<ol id="events"></ol>
</details>
</main>
</body></html>
)";

// JSON text of an item the client escaped for the page and again for the URL.
std::optional<json> doublyEscapedJson(const std::optional<std::string>& value) {
    if (!value) return std::nullopt;
    json parsed = parseJson(percentDecode(*value));
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
}

std::optional<std::string> checkItems(const RecordedRequest& request, const State& state) {
    std::vector<QueryItem> items;
    for (const auto& item : request.queryItems) {
        if (item.name != "lxtest") items.push_back(item);
    }
    if (items.empty()) return std::nullopt;  // a test opening the page by hand
    if (items.size() != kItemNames.size()) return "the page takes exactly nine query items";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i].name != kItemNames[i]) {
            return "query item " + std::to_string(i + 1) + " must be " + std::string(kItemNames[i]) +
                   ", not " + items[i].name;
        }
    }
    for (std::size_t i : {0, 1, 2, 3, 4, 6, 8}) {
        if (!items[i].value) return std::string(kItemNames[i]) + " needs a value";
    }
    const auto hotel = doublyEscapedJson(items[3].value);
    if (!hotel || !hotel->is_object() || hotel->size() != 2 || !hotel->contains("name") ||
        !hotel->contains("address_city") || !(*hotel)["name"].is_string() ||
        !(*hotel)["address_city"].is_string()) {
        return "hotel must be JSON {name, address_city}";
    }
    const auto ext = doublyEscapedJson(items[4].value);
    if (!ext || !ext->is_object()) return std::string("extAttributes must be a JSON object");
    for (const auto& [key, value] : ext->items()) {
        if (!value.is_string()) return "extAttributes." + key + " must be a string";
    }
    if (items[5].value && !state.sessions.contains(*items[5].value)) {
        return "sessionId is not a known session: " + *items[5].value;
    }
    const auto offer = doublyEscapedJson(items[6].value);
    if (!offer || !offer->is_object()) return std::string("offer must be JSON");
    if (!offer->contains("type") || (*offer)["type"] != "signed_full_offer") {
        return std::string("offer is not a signed full offer");
    }
    if (!offer->contains("offer") || !(*offer)["signature"].is_string() ||
        signOffer(state.signingKey, *offer) != (*offer)["signature"].get<std::string>()) {
        return std::string("offer is not signed by this service");
    }
    const auto flags = doublyEscapedJson(items[8].value);
    if (!flags || !(flags->is_null() || flags->is_object())) {
        return std::string("featureFlags must be JSON null or an object");
    }
    return std::nullopt;
}

}  // namespace

Answer purchaseRoute(const RecordedRequest& request, State& state) {
    if (request.method != "GET") return Answer::reject(405, "the purchase page is read with GET");
    PurchaseScript script = state.purchaseScript;
    if (request.queryValue("lxtest")) {
        const auto named = purchaseScriptFromName(request.queryValue("lxtest").value_or(""));
        if (!named) return Answer::reject(400, "unknown lxtest script");
        script = *named;
    }
    if (auto problem = checkItems(request, state)) return Answer::reject(400, *problem);
    Answer answer;
    if (script == PurchaseScript::fail) {
        answer.drop = true;
        return answer;
    }
    answer.status = 200;
    answer.contentType = "text/html; charset=utf-8";
    answer.body = std::string(kPageHead) + "<body data-lxtest=\"" +
                  std::string(purchaseScriptName(script)) + "\">" + std::string(kPageBody);
    return answer;
}

Answer termsRoute(const RecordedRequest& request, State&) {
    if (request.method != "GET") return Answer::reject(405, "the terms page is read with GET");
    Answer answer;
    answer.contentType = "text/html; charset=utf-8";
    answer.body = "<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\"><title>Fermo terms"
                  "</title></head><body><h1>Fermo terms</h1><p>Deposits are not refundable.</p>"
                  "</body></html>";
    return answer;
}

}  // namespace lxhf::testing
