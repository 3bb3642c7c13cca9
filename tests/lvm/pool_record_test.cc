#include <cstring>

#include "tests/lvm/storage_machine.h"

class pool_record : public sandbox_test {};

TEST_F(pool_record, is_cleared_but_for_its_link) {
  tag_pool_info pool;
  for (const auto clear : {pool_conf_init, pool_conf_fini}) {
    std::memset(static_cast<void*>(&pool), 'x', sizeof pool);
    list_node* const link = pool.list.prev;
    clear(&pool);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(&pool), offsetof(tag_pool_info, list)),
              std::string(offsetof(tag_pool_info, list), '\0'));
    EXPECT_EQ(pool.list.prev, link);
  }
}

TEST_F(pool_record, is_shown_as_one_line) {
  tag_pool_info pool{};
  std::strcpy(pool.poolname, "/dev/vg0/lv0");
  std::strcpy(pool.state, "not available");
  pool.size = 10;
  std::strcpy(pool.vgname, "vg0");
  std::strcpy(pool.enclosure, "2");
  const std::string line = "/dev/vg0/lv0\tnot available\t10G\t0G\tvg0\t2\n";
  EXPECT_EQ(pool_conf_show(&pool), static_cast<int>(line.size()));
  EXPECT_EQ(machine.output(), line);
}

TEST_F(pool_record, lists_are_shown_and_released) {
  tag_poolinfo_list pools;
  pool_list_init(&pools);
  pool_list_show(&pools);
  EXPECT_EQ(machine.output(), "");
  orv::append(&pools);
  orv::append(&pools);
  pool_list_show(&pools);
  EXPECT_EQ(machine.output(), "\t\t0G\t0G\t\t\n\t\t0G\t0G\t\t\n");
  EXPECT_EQ(pool_list_fini(&pools), 0);
  EXPECT_EQ(pool_list_fini(&pools), 0);
  EXPECT_TRUE(orv::is_empty(&pools));
}

TEST_F(pool_record, operations_without_a_list_or_record_are_told) {
  EXPECT_EQ(pool_list_fini(nullptr), -1);
  pool_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  pool_list_init(nullptr);
  pool_conf_init(nullptr);
  pool_conf_fini(nullptr);
  EXPECT_EQ(pool_conf_show(nullptr), ORV_E_FAILED);
}
