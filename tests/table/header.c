#include "brenholt/brenholt.h"

/* A host in C calls the table by name. */
int host_in_c(const BrenholtTable* table, PanelDirEntry* entries);
int host_in_c(const BrenholtTable* table, PanelDirEntry* entries) {
    return table->Start(3, 1000, 0) != 0 ? table->CmdDR(u"project", 10, entries) : -1;
}
