#include "quarnet/platform/secretservice/KeyringSession.h"

namespace quarnet::platform {
namespace {

/// libsecret's service on a connection of its own. The type's name is known to the whole process.
using QuarnetSecretService = SecretService;
using QuarnetSecretServiceClass = SecretServiceClass;
G_DEFINE_TYPE_EXTENDED(QuarnetSecretService, ownService, SECRET_TYPE_SERVICE, G_TYPE_FLAG_FINAL, )

GObject* constructOwnService(GType type, guint count, GObjectConstructParam* properties) {
  GObject* const service =
      G_OBJECT_CLASS(ownService_parent_class)->constructor(type, count, properties);
  // libsecret's constructor has chosen the connection that the whole program shares.
  g_object_set(service, "g-bus-type", G_BUS_TYPE_NONE, nullptr);
  return service;
}

void ownService_class_init(QuarnetSecretServiceClass* type) {
  G_OBJECT_CLASS(type)->constructor = constructOwnService;
}

void ownService_init(QuarnetSecretService*) {}

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kDismissed[] = "the request was dismissed";
constexpr char kDamaged[] = "the keyring's item is damaged";

using ErrorRef = std::unique_ptr<GError, Release<g_error_free>>;
using Attributes = std::unique_ptr<GHashTable, Release<g_hash_table_unref>>;
using Chars = std::unique_ptr<char, Release<g_free>>;

/// By which the item is found. They are no secret: programs may read them while it is locked.
Attributes attributesOf(const std::string& application) {
  Attributes attributes(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
  const auto set = [&](const char* name, const char* value) {
    g_hash_table_insert(attributes.get(), g_strdup(name), g_strdup(value));
  };
  set("xdg:schema", "example.quarnet.UserDefaults");
  set("application", application.c_str());
  return attributes;
}

void apply(const UnsavedTexts::Changes& changes, Record& record) {
  for (const auto& [key, value] : changes) {
    if (value) {
      record.texts[key] = *value;
    } else {
      record.texts.erase(key);
    }
  }
}

bool isWithoutService(const GError* error) {
  return error->domain == G_DBUS_ERROR && (error->code == G_DBUS_ERROR_SERVICE_UNKNOWN ||
                                           error->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER ||
                                           (error->code >= G_DBUS_ERROR_SPAWN_EXEC_FAILED &&
                                            error->code <= G_DBUS_ERROR_SPAWN_NO_MEMORY));
}

void noteTurn(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
              gpointer isMyTurn) {
  *static_cast<bool*>(isMyTurn) = true;
}

} // namespace

KeyringSession::~KeyringSession() {
  item_.reset();
  collection_.reset();
  service_.reset();
  if (!connection_) return;
  // The turn ends with the connection.
  deadline_.await(
      [this](auto... callback) { g_dbus_connection_close(connection_.get(), callback...); });
}

std::optional<Record> KeyringSession::read() {
  std::optional<Record> record(std::in_place);
  if (!open()) return std::nullopt;
  if (!collection_) return record; // then nothing was ever saved
  if (!findItem()) return std::nullopt;
  if (!item_ || parse(*record)) return record;
  fail(std::string(kDamaged) + "; the next save puts it aside");
  return std::nullopt;
}

bool KeyringSession::write(const UnsavedTexts::Changes& changes) {
  if (!open()) return false;
  if (!collection_) return fail("the desktop has no default keyring");
  if (!takeTurn() || !findItem()) return false;
  Record record;
  const WipeAtEnd wipeRecord(record);
  if (item_ && !parse(record) && !putAside()) return false;
  apply(changes, record);
  if (record.size() > kLargestRecord) return fail("the texts are larger than 4 MiB");
  return record.texts.empty() ? remove() : store(record);
}

bool KeyringSession::unlock() {
  if (!open()) return false;
  if (!collection_) return make();
  if (!secret_collection_get_locked(collection_.get())) return true;
  GList* const wanted = g_list_prepend(nullptr, collection_.get());
  const auto result = deadline_.await(
      [&](auto... callback) { secret_service_unlock(service_.get(), wanted, callback...); });
  g_list_free(wanted);
  GError* error = nullptr;
  const int count = secret_service_unlock_finish(service_.get(), result.get(), nullptr, &error);
  if (error != nullptr) return fail(error);
  return count > 0 || fail(kDismissed);
}

bool KeyringSession::make() {
  const auto result = deadline_.await([&](auto... callback) {
    secret_collection_create(service_.get(), "Default keyring", SECRET_COLLECTION_DEFAULT,
                             SECRET_COLLECTION_CREATE_NONE, callback...);
  });
  GError* error = nullptr;
  collection_.reset(secret_collection_create_finish(result.get(), &error));
  if (collection_) return true;
  // This is what libsecret makes of a prompt that was dismissed.
  if (!g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD)) return fail(error);
  g_error_free(error);
  return fail(kDismissed);
}

bool KeyringSession::open() {
  return connect() && findService() && findCollection();
}

/// To a connection of its own: one that is shared with the program would end the program when the
/// session bus ends, and would not let go of the turn.
bool KeyringSession::connect() {
  GError* error = nullptr;
  const Chars address(
      g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, deadline_.cancellable(), &error));
  if (address) {
    constexpr auto kFlags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    const auto result = deadline_.await([&](auto... callback) {
      g_dbus_connection_new_for_address(address.get(), kFlags, nullptr, callback...);
    });
    connection_.reset(g_dbus_connection_new_for_address_finish(result.get(), &error));
  }
  if (connection_) return true;
  const ErrorRef reason(error);
  if (deadline_.isOver()) return fail("the session bus does not answer");
  return fail(std::string("there is no session bus (") + reason->message + ")");
}

bool KeyringSession::findService() {
  service_.reset(
      SECRET_SERVICE(g_object_new(ownService_get_type(), "g-connection", connection_.get(), "flags",
                                  SECRET_SERVICE_OPEN_SESSION, nullptr)));
  const auto result = deadline_.await([this](auto... callback) {
    g_async_initable_init_async(G_ASYNC_INITABLE(service_.get()), G_PRIORITY_DEFAULT, callback...);
  });
  GError* error = nullptr;
  return g_async_initable_init_finish(G_ASYNC_INITABLE(service_.get()), result.get(), &error) ||
         fail(error);
}

bool KeyringSession::findCollection() {
  const auto result = deadline_.await([this](auto... callback) {
    secret_collection_for_alias(service_.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                callback...);
  });
  GError* error = nullptr;
  collection_.reset(secret_collection_for_alias_finish(result.get(), &error));
  return error == nullptr || fail(error);
}

/// The name is the application's, which a sandboxed application may own, too.
bool KeyringSession::takeTurn() {
  const std::string name = application_ + ".SavingUserDefaults";
  if (!g_dbus_is_name(name.c_str())) return fail("\"" + application_ + "\" is no identifier");
  g_dbus_connection_signal_subscribe(connection_.get(), kBus, kBus, "NameAcquired", nullptr,
                                     name.c_str(), G_DBUS_SIGNAL_FLAGS_NO_MATCH_RULE, noteTurn,
                                     &isMyTurn_, nullptr);
  const auto result = deadline_.await([&](auto... callback) {
    g_dbus_connection_call(connection_.get(), kBus, "/org/freedesktop/DBus", kBus, "RequestName",
                           g_variant_new("(su)", name.c_str(), 0U), nullptr, G_DBUS_CALL_FLAGS_NONE,
                           -1, callback...);
  });
  GError* error = nullptr;
  GVariant* answer = g_dbus_connection_call_finish(connection_.get(), result.get(), &error);
  if (answer == nullptr) return fail(error);
  g_variant_unref(answer);
  deadline_.waitFor(isMyTurn_);
  return isMyTurn_ || fail("another process does not end its save");
}

/// With its text.
bool KeyringSession::findItem() {
  if (secret_collection_get_locked(collection_.get())) return fail("the keyring is locked");
  const Attributes attributes = attributesOf(application_);
  const auto result = deadline_.await([&](auto... callback) {
    secret_collection_search(collection_.get(), nullptr, attributes.get(),
                             SECRET_SEARCH_LOAD_SECRETS, callback...);
  });
  GError* error = nullptr;
  GList* found = secret_collection_search_finish(collection_.get(), result.get(), &error);
  if (error != nullptr) return fail(error);
  if (found != nullptr) item_.reset(SECRET_ITEM(g_object_ref(found->data)));
  g_list_free_full(found, g_object_unref);
  return true;
}

bool KeyringSession::parse(Record& record) {
  SecretValue* const value = secret_item_get_secret(item_.get());
  if (value == nullptr) return false;
  gsize size = 0;
  const char* text = secret_value_get(value, &size);
  auto parsed = size > 0 ? parseRecord({text, size}) : std::nullopt;
  secret_value_unref(value);
  if (parsed) record.texts.swap(parsed->texts);
  return parsed.has_value();
}

/// Gives the item another application's name, so that it is kept and not found any more.
bool KeyringSession::putAside() {
  const auto now = g_get_real_time() / 1000;
  const std::string aside = application_ + ".damaged-" + std::to_string(now);
  const Attributes attributes = attributesOf(aside);
  const auto result = deadline_.await([&](auto... callback) {
    secret_item_set_attributes(item_.get(), nullptr, attributes.get(), callback...);
  });
  GError* error = nullptr;
  if (!secret_item_set_attributes_finish(item_.get(), result.get(), &error)) return fail(error);
  item_.reset();
  damage_ = Failure{std::string(kDamaged) + "; its application is now " + aside, {}};
  return true;
}

bool KeyringSession::store(const Record& record) {
  std::string text = recordText(record);
  const WipeAtEnd wipeText(text);
  const Attributes attributes = attributesOf(application_);
  const std::string label = application_ + " (Quarnet)";
  SecretValue* const value =
      secret_value_new(text.data(), static_cast<gssize>(text.size()), "text/plain");
  const auto result = deadline_.await([&](auto... callback) {
    secret_item_create(collection_.get(), nullptr, attributes.get(), label.c_str(), value,
                       SECRET_ITEM_CREATE_REPLACE, callback...);
  });
  secret_value_unref(value);
  GError* error = nullptr;
  item_.reset(secret_item_create_finish(result.get(), &error));
  return item_ || fail(error);
}

bool KeyringSession::remove() {
  if (!item_) return true;
  const auto result =
      deadline_.await([this](auto... callback) { secret_item_delete(item_.get(), callback...); });
  GError* error = nullptr;
  return secret_item_delete_finish(item_.get(), result.get(), &error) || fail(error);
}

bool KeyringSession::fail(std::string reason, std::string said) {
  failure_ = {std::move(reason), std::move(said)};
  return false;
}

/// Takes the error over; null is a request that ended without anything.
bool KeyringSession::fail(GError* error) {
  const ErrorRef owned(error);
  if (deadline_.isOver()) return fail("the keyring did not answer in time");
  if (error == nullptr) return fail("the keyring gave no answer");
  if (isWithoutService(error)) return fail("this session has no keyring");
  if (g_error_matches(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
    return fail("the keyring is locked");
  return fail("the keyring refused this: ", error->message);
}

} // namespace quarnet::platform
