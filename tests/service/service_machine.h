#ifndef ORV_TESTS_SERVICE_SERVICE_MACHINE_H
#define ORV_TESTS_SERVICE_SERVICE_MACHINE_H

#include <orv/service.h>

#include <string>

#include "common/families.h"
#include "tests/sandbox/sandbox.h"

/// A machine with sharing services. Whatever a test does, nothing stays open.
class service_machine : public sandbox_test {
 protected:
  void TearDown() override { EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty()); }

  /// The log line of a command that failed.
  static testing::Matcher<const std::string&> failed(const std::string& command,
                                                     const std::string& how) {
    return testing::StartsWith("system(\"" + command + "\") return " + how + " for '");
  }
};

/// The same with a list of connections.
class connection_machine : public service_machine {
 protected:
  /// The listed connections, one "SHARE|PROTOCOL|IP|USER" each.
  sandbox::lines listed() {
    sandbox::lines all;
    for (const tag_share_conn& connection : connections) {
      all.push_back(std::string(connection.share) + '|' + connection.protocol + '|' +
                    connection.ip + '|' + connection.user);
    }
    return all;
  }

  /// Nothing went wrong, and nothing is left behind.
  void expect_silence() {
    EXPECT_EQ(machine.log(), "");
    EXPECT_EQ(machine.output(), "");
    EXPECT_THAT(machine.temp_files(), testing::IsEmpty());
  }

  orv::scoped_list<tag_shareconn_list> connections;
};

#endif
