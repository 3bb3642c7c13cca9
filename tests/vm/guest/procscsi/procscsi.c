/* The folder /proc/scsi, in which the appliance's disk driver has its files. Debian's kernel is built
 * without it, and no program can make a folder in /proc. */
#include <linux/module.h>
#include <linux/proc_fs.h>

static int __init procscsi_start(void)
{
  return proc_mkdir("scsi", NULL) ? 0 : -ENOMEM;
}

static void __exit procscsi_stop(void)
{
  remove_proc_entry("scsi", NULL);
}

module_init(procscsi_start);
module_exit(procscsi_stop);
MODULE_DESCRIPTION("An empty /proc/scsi");
MODULE_LICENSE("GPL");
