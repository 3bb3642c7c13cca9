// Arrays, groups and pools as libblockdev knows them: blockdev arrays|groups|pools MD...
// Debian's libblockdev-dev; built and run by the scenario bench/peers/libblockdev.sh.
#include <blockdev/blockdev.h>
#include <blockdev/lvm.h>
#include <blockdev/mdraid.h>
#include <stdio.h>
#include <string.h>

static const guint64 gib = 1024ULL * 1024 * 1024;

static gboolean fail(GError* error) {
  fprintf(stderr, "blockdev: %s\n", error != NULL ? error->message : "failed");
  g_clear_error(&error);
  return FALSE;
}

static gboolean show_array(const char* name) {
  GError* error = NULL;
  BDMDDetailData* const detail = bd_md_detail(name, &error);
  if (detail == NULL) return fail(error);
  printf("%s %s %llu\n", name, detail->level, (unsigned long long)(detail->array_size / gib));
  bd_md_detail_data_free(detail);
  return TRUE;
}

static gboolean show_groups(void) {
  GError* error = NULL;
  BDLVMVGdata** const groups = bd_lvm_vgs(&error);
  if (groups == NULL) return fail(error);
  for (BDLVMVGdata** group = groups; *group != NULL; ++group) {
    printf("%s %llu\n", (*group)->name, (unsigned long long)((*group)->size / gib));
    bd_lvm_vgdata_free(*group);
  }
  g_free(groups);
  return TRUE;
}

static gboolean show_pools(void) {
  GError* error = NULL;
  BDLVMLVdata** const pools = bd_lvm_lvs(NULL, &error);
  if (pools == NULL) return fail(error);
  for (BDLVMLVdata** pool = pools; *pool != NULL; ++pool) {
    printf("/dev/%s/%s %llu\n", (*pool)->vg_name, (*pool)->lv_name,
           (unsigned long long)((*pool)->size / gib));
    bd_lvm_lvdata_free(*pool);
  }
  g_free(pools);
  return TRUE;
}

static gboolean start(void) {
  GError* error = NULL;
  BDPluginSpec md = {BD_PLUGIN_MDRAID, NULL};
  BDPluginSpec lvm = {BD_PLUGIN_LVM, NULL};
  BDPluginSpec* wanted[] = {&md, &lvm, NULL};
  return bd_ensure_init(wanted, NULL, &error) || fail(error);
}

int main(int count, char** words) {
  if (count < 2 || !start()) return 1;
  if (strcmp(words[1], "groups") == 0) return show_groups() ? 0 : 1;
  if (strcmp(words[1], "pools") == 0) return show_pools() ? 0 : 1;
  for (int i = 2; i < count; ++i) {
    if (!show_array(words[i])) return 1;
  }
  return 0;
}
