// A small application on the Quarnet API: sign in, a few calls, log out.

#include "DemoWindow.h"
#include "Options.h"
#include "tools/usage/CommandLine.h"

#include <clocale>
#include <filesystem>
#include <libintl.h>
#include <memory>
#include <quarnet/platform/Platform.h>
#include <quarnet/platform/curl/CurlHttpClient.h>
#include <quarnet/platform/gtk/GtkToolkit.h>
#include <quarnet/platform/sqlite/SqliteUserDefaults.h>
#if QUARNET_HAS_KEYRING
#include <quarnet/platform/secretservice/SecretServiceDefaults.h>
#endif

namespace {

using demo::Options;

/// Texts in the language of the user's locale, where there is a catalogue of it.
void translate() {
  std::setlocale(LC_ALL, "");
  std::error_code unknown;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", unknown);
  bindtextdomain(QUARNET_DEMO_DOMAIN, (self.parent_path() / QUARNET_DEMO_CATALOGUES).c_str());
  // GTK takes nothing else, whatever the locale writes in.
  bind_textdomain_codeset(QUARNET_DEMO_DOMAIN, "UTF-8");
  textdomain(QUARNET_DEMO_DOMAIN);
}

/// Where the tokens are kept.
std::shared_ptr<quarnet::platform::UserDefaults> makeStore(const Options& options) {
#if QUARNET_HAS_KEYRING
  if (options.keyring)
    return std::make_shared<quarnet::platform::SecretServiceDefaults>("example.quarnet.Demo");
#endif
  return std::make_shared<quarnet::platform::SqliteUserDefaults>(options.store);
}

/// Sets the library up, before anything else of it is used.
void configure(const Options& options, std::shared_ptr<quarnet::platform::Log> log) {
  namespace platform = quarnet::platform;
  const quarnet::Hosts& hosts = options.hosts;
  quarnet::configureHosts(hosts);
  platform::Platform::install({
      .httpClient = std::make_shared<platform::CurlHttpClient>(
          platform::CurlHttpClientOptions{.caFile = options.caFile}),
      .userDefaults = makeStore(options),
      .log = std::move(log),
      .toolkit = std::make_shared<platform::GtkToolkit>(
          platform::GtkToolkitOptions{.certificateFile = options.caFile,
                                      .certificateHosts = {hosts.api, hosts.mobile, hosts.portal}}),
  });
  quarnet::OAuthInfoManager& session = quarnet::OAuthInfoManager::sharedInstance();
  session.setClientId(options.clientId);
  session.setClientSecret(options.clientSecret);
  session.setScope(options.scope);
}

void activate(GtkApplication* application, const Options* options) {
  if (GtkWindow* open = gtk_application_get_active_window(application))
    return gtk_window_present(open);
  demo::DemoWindow& window = demo::DemoWindow::open(ADW_APPLICATION(application));
  configure(*options, window.log());
  window.present();
}

} // namespace

int main(int argc, char** argv) {
  CLI::App program;
  Options options;
  demo::define(program, options);
  if (const auto code = quarnet::usage::parse(program, argc, argv)) return *code;
  translate();

  // Two of them may run at a time, on different servers.
  AdwApplication* application =
      adw_application_new("example.quarnet.Demo", G_APPLICATION_NON_UNIQUE);
  g_signal_connect(application, "activate", G_CALLBACK(activate), &options);
  const int status = g_application_run(G_APPLICATION(application), 1, argv);
  g_object_unref(application);
  return status;
}
