/* A plugin for the emulator (qemu-user 7.2 and later) that counts the instructions that the emulated program executes
 * and prints the number to standard error when the program ends. Debian packages the emulator without the header of
 * its plugin interface, so the few names that are needed are declared here, as the interface of version 1 has them. */
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

typedef uint64_t plugin_id;
struct translation_block;

enum inline_operation { inline_add_u64 = 0 };

void qemu_plugin_register_vcpu_tb_trans_cb(plugin_id id,
                                           void (*translated)(plugin_id, struct translation_block*));
size_t qemu_plugin_tb_n_insns(const struct translation_block* block);
void qemu_plugin_register_vcpu_tb_exec_inline(struct translation_block* block,
                                              enum inline_operation operation, void* counter, uint64_t value);
void qemu_plugin_register_atexit_cb(plugin_id id, void (*at_exit)(plugin_id, void*), void* user_data);

int qemu_plugin_version = 1;

static uint64_t instructions;

static void count_block(plugin_id id, struct translation_block* block) {
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, inline_add_u64, &instructions,
                                             qemu_plugin_tb_n_insns(block));
}

static void print_count(plugin_id id, void* user_data) {
    (void)id;
    (void)user_data;
    fprintf(stderr, "instructions %" PRIu64 "\n", instructions);
}

int qemu_plugin_install(plugin_id id, const void* info, int argc, char** argv) {
    (void)info;
    (void)argc;
    (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
    qemu_plugin_register_atexit_cb(id, print_count, NULL);
    return 0;
}
