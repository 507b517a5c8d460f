#pragma once

#include "quarnet/core/Callback.h"
#include "quarnet/core/Error.h"
#include "quarnet/core/Export.h"
#include "quarnet/core/HttpHeader.h"
#include "quarnet/core/RequestBundle.h"
#include "quarnet/core/ResponseMessage.h"
#include "quarnet/platform/HttpClient.h"

#include <memory>
#include <string_view>

namespace quarnet {

class AsynchronousAnswer;

/// Sends API calls for the signed-in user.
///
/// A call is described by a RequestBundle and carries the client identifier and the tokens that are
/// in the token record then; they are never reissued here. GET and DELETE send their parameters
/// encrypted under a one-time key, which costs one more round trip before the call itself.
///
/// Prepare calls from one thread at a time: a prepared request waits in one process-wide slot until
/// it is sent, so two threads that prepare at once can send each other's request. Every error slot
/// may be null.
///
/// Nothing is thrown: a call whose body, file, parameters or answer are too large for the memory
/// fails with "vornelAPIError", 1, "Not enough memory for the call".
///
/// The one-time key, its vector and the parameters' plain text are overwritten where this class and
/// the cipher kept them before the call is made. Copies that others have are not overwritten:
/// the log's, the kernel's, those of TLS, and memory that was freed while an answer arrived.
class QUARNET_EXPORT APIRequest {
public:
  /// Nobody is registered yet.
  APIRequest();
  /// A call that is under way is completed and delivered all the same, so a target that dies with
  /// its request is to be taken back before.
  ~APIRequest();
  /// One that was moved from is as new; calls under way belong to the one that it was moved to.
  APIRequest(APIRequest&&) noexcept;
  /// Calls under way of the one that is assigned to are completed and delivered all the same.
  APIRequest& operator=(APIRequest&&) noexcept;

  /// Sends the call and blocks until its answer or for 60 seconds; GET and DELETE may wait as long
  /// for their one-time key before.
  ///
  /// Absent when the call could not be made (codes 1, 2, 3 and 5). Otherwise what came back, beside
  /// the error "vornelAPIError", 1, when the status is anything but 200: its description is the
  /// transport's, absent when the server did answer.
  std::optional<ResponseMessage> requestError(RequestBundle& bundle, std::optional<Error>* error);
  /// The same with the bundle's method set first.
  std::optional<ResponseMessage> requestHTTPMethodError(RequestBundle& bundle, HttpMethod method,
                                                        std::optional<Error>* error);
  /// The same with the bundle's method and URL set first.
  std::optional<ResponseMessage> requestURLHTTPMethodError(RequestBundle& bundle, Text url,
                                                           HttpMethod method,
                                                           std::optional<Error>* error);

  /// Registers who is called when an asynchronous call ends. What is registered when an answer
  /// arrives counts, not what was when the call was sent.
  ///
  /// The target is not owned. Before it dies, call setDelegateFinishedFailed(nullptr, nullptr,
  /// nullptr) or register another one, on the main thread, inside a callback if you like: an answer
  /// that has arrived for it but was not delivered yet is then dropped.
  template <class T>
  void setDelegateFinishedFailed(T* target, std::type_identity_t<Method<T>> finished,
                                 std::type_identity_t<Method<T>> failed) {
    setCallback(makeCallback(target, finished, failed));
  }
  void setDelegateFinishedFailed(std::nullptr_t, Operation finished, Operation failed) {
    setCallback({nullptr, finished, failed});
  }

  /// Sends the call without waiting for its answer; GET and DELETE do wait for their one-time key,
  /// up to 60 seconds.
  ///
  /// The outcome comes on the main thread, never inside this call: status 200 with a body to the
  /// finished operation ("RC" "200", "RD" the body), anything else to the failed one ("RC" the
  /// status, "0" without an answer, "7" for an empty body, "" when the call could not be made; "RM"
  /// the text).
  void aSyncRequest(RequestBundle& bundle);
  /// The same with the bundle's method set first.
  void aSyncRequestHTTPMethod(RequestBundle& bundle, HttpMethod method);
  /// The same with the bundle's method and URL set first.
  void aSyncRequestURLHTTPMethod(RequestBundle& bundle, Text url, HttpMethod method);

  /// The bundle's URL with its parameters as a plain query; calls do not use it. Absent when that
  /// is too large for the memory.
  Text urlConverter(const RequestBundle& bundle);

  /// Prepares the call in the process-wide slot, or stores an error. Writes back into the bundle:
  /// the URL gets the suffix of the response type, the parameter values are escaped, both or none.
  void _requestError(RequestBundle& bundle, std::optional<Error>* error);
  /// Adds the key and token headers to the request in the slot. An absent client identifier is
  /// error 5; the other headers are set all the same.
  void setHeaderErr(const Text& swapKey, std::optional<Error>* error);
  /// The request in the slot; null before the first one.
  static std::shared_ptr<const platform::HttpRequest> urlRequest();

  /// Encrypts a query text under a one-time key that it fetches, blocking. The hexadecimal text for
  /// "?enc=", or absent with error 5 (no client identifier), 7 (the key did not arrive) or what a
  /// call gets that is too large for the memory.
  /// `swapKey`, which may be null, receives the name that the key has on the server as soon as
  /// there is one.
  Text encryptParamSwapKeyError(const Text& parameters, Text* swapKey, std::optional<Error>* error);
  /// AES-256-CBC with PKCS#7 padding. Key and IV are the texts' bytes, cut to 32 and 16 bytes or
  /// filled up with zero bytes; an absent text is all zero. Absent when the cipher fails or the
  /// memory does not suffice.
  std::optional<Data> AES256EncryptWithKeyIvectorData(const Text& key, const Text& iv,
                                                      std::string_view data);
  /// Two lower-case hexadecimal digits a byte; empty for absent data.
  std::string hexEncode(std::optional<std::string_view> data);

  /// A buffer that each asynchronous send replaces by an empty one. Absent before the first.
  std::optional<Data> receivedData() const;
  void setReceivedData(std::optional<Data> receivedData);
  /// Kept for the application.
  std::optional<platform::HttpResponse> response() const;
  void setResponse(std::optional<platform::HttpResponse> response);
  /// The text of the last asynchronous answer; absent before it and when it was not valid UTF-8.
  Text result() const;
  void setResult(Text result);
  /// Kept for the application; calls do not read it.
  std::optional<HttpHeader> httpHeader() const;
  void setHttpHeader(std::optional<HttpHeader> httpHeader);

  /// The object that is called back; null for none. It must be of the operations' own class, and is
  /// registered and taken back as setDelegateFinishedFailed() says.
  void* _target() const;
  void set_target(void* target);
  /// Its operation for a success; null for none.
  Operation _finishedSelector() const;
  void set_finishedSelector(Operation finished);
  /// Its operation for everything else; null for none.
  Operation _failedSelector() const;
  void set_failedSelector(Operation failed);

private:
  void setCallback(CallbackTriple callback);

  /// Shared with the completions of calls under way.
  std::shared_ptr<AsynchronousAnswer> answer_;
};

} // namespace quarnet
