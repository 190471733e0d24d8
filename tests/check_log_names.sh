#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_log_names.sh OBJCOPY LIBRARY EXPORTS: no log line of the library names a private function, for line scripts
# filter by the name. Every name in the read-only data is that of an export, or stands in one of the two lists below.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Callbacks, threads and steps that the log knows by their names.
shown='_HW_UART_Callback _a_vextvfapi_disptst_set_burning_mode _a_vextvfapi_inpsrc_get_scart_handle
_a_vextvfapi_prphrl_get_pwm_handle _a_vextvfapi_prphrl_gpio_monitor_task _a_vextvfapi_prphrl_stdFactoryLedMonitor
_a_vextvfapi_prphrl_stdFactoryUartMonitor _a_vextvfapi_prphrl_uart_pipe_task _disptst_free_frame_buffer
_disptst_get_frame_buffer _disptst_osd_handle_create _disptst_osd_handle_destroy _load_bitmap_to_buffer burning_mode_task'
# Data that only looks like a function's name; a C++ library names the container whose length it refuses.
words='disable disp_photo down enable eth0 vector'
"$1" -O binary -j .rodata "$2" "$work"/data
tr '\0' '\n' < "$work"/data | grep -axE '(_+[A-Za-z]|[a-z])[A-Za-z0-9_]{3,}' | LC_ALL=C sort -u > "$work"/names
{
    sed 's/(.*//' "$3"
    printf '%s\n' $shown $words
} | LC_ALL=C sort -u > "$work"/known
grep -qx a_vextvfapi_sys_init "$work"/names || { echo "no operation is named at all: the check is out of date" >&2; exit 1; }
private=$(LC_ALL=C comm -23 "$work"/names "$work"/known)
if [ -n "$private" ]; then
    echo "log lines may name what is no operation: $private" >&2
    exit 1
fi
