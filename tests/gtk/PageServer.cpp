#include "tests/gtk/PageServer.h"

#include <gtest/gtest.h>

namespace quarnet::platform {

PageServer::PageServer(std::map<std::string, Page> pages, const std::string& certificateFile)
    : pages_(std::move(pages)), server_(soup_server_new(nullptr, nullptr)) {
  if (!certificateFile.empty()) {
    scheme_ = "https";
    GTlsCertificate* certificate =
        g_tls_certificate_new_from_file(certificateFile.c_str(), nullptr);
    soup_server_set_tls_certificate(server_, certificate);
    g_object_unref(certificate);
  }
  soup_server_add_handler(
      server_, nullptr,
      [](SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) {
        static_cast<PageServer*>(self)->answer(message, path);
      },
      this, nullptr);
  const auto options =
      certificateFile.empty() ? SoupServerListenOptions{} : SOUP_SERVER_LISTEN_HTTPS;
  EXPECT_TRUE(soup_server_listen_local(
      server_, 0, static_cast<SoupServerListenOptions>(options | SOUP_SERVER_LISTEN_IPV4_ONLY),
      nullptr));
}

PageServer::~PageServer() {
  soup_server_disconnect(server_);
  g_object_unref(server_);
}

std::string PageServer::host() const {
  GSList* addresses = soup_server_get_uris(server_);
  const int port = g_uri_get_port(static_cast<GUri*>(addresses->data));
  g_slist_free_full(addresses, reinterpret_cast<GDestroyNotify>(g_uri_unref));
  return "127.0.0.1:" + std::to_string(port);
}

int PageServer::requests(const std::string& path) const {
  const auto known = requests_.find(path);
  return known == requests_.end() ? 0 : known->second;
}

void PageServer::answer(SoupServerMessage* message, const std::string& path) {
  ++requests_[path];
  const char* cookie =
      soup_message_headers_get_one(soup_server_message_get_request_headers(message), "Cookie");
  cookie_ = cookie == nullptr ? "" : cookie;
  const auto page = pages_.find(path);
  if (page == pages_.end()) {
    soup_server_message_set_status(message, 404, nullptr);
    return;
  }
  SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_append(headers, "Set-Cookie", "signed-in=yes");
  if (!page->second.location.empty())
    soup_message_headers_append(headers, "Location", page->second.location.c_str());
  soup_server_message_set_status(message, page->second.status, nullptr);
  soup_server_message_set_response(message, page->second.type.c_str(), SOUP_MEMORY_COPY,
                                   page->second.body.data(), page->second.body.size());
}

std::string makeCertificate(const std::string& folder, const std::string& name) {
  const std::string file = folder + "/" + name + ".pem";
  const std::string command =
      "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=" + name +
      " -addext subjectAltName=IP:127.0.0.1 -keyout " + file + " -out " + file + ".crt";
  char* output = nullptr;
  char* progress = nullptr;
  EXPECT_TRUE(g_spawn_command_line_sync(command.c_str(), &output, &progress, nullptr, nullptr));
  g_free(output);
  g_free(progress);
  char* text = nullptr;
  EXPECT_TRUE(g_file_get_contents((file + ".crt").c_str(), &text, nullptr, nullptr));
  FILE* out = fopen(file.c_str(), "a");
  fputs(text, out);
  fclose(out);
  g_free(text);
  return file;
}

} // namespace quarnet::platform
