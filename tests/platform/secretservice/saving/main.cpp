// saving KEY FIRST LAST: saves the records from one number to another, each with its number under
// the key, too. A process of its own, since GIO does not work in one that was forked.

#include "tests/platform/sqlite/StoreTest.h"

#include "quarnet/platform/secretservice/SecretServiceDefaults.h"

int main(int, char** arguments) {
  quarnet::platform::SecretServiceDefaults store("com.example.Places");
  const std::string key = arguments[1];
  for (long number = std::atol(arguments[2]); number <= std::atol(arguments[3]); ++number) {
    store.setValue(key, std::to_string(number));
    saveGeneration(store, number);
    if (store.value(key) != std::to_string(number)) return 1;
  }
}
