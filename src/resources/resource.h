#pragma once

// Numbers of the resources and commands, for the resource script and the code.

#define IDR_ACCELERATORS     1
#define IDI_ZOCONSOLE        13
#define IDR_MENU             101
#define IDD_ABOUT            104
#define IDD_OPTIONS          107
#define IDD_OPEN_PORT        108
#define IDD_SUMMARY          109
#define IDI_OPTION_ON        110
#define IDI_OPTION_OFF       111
#define IDI_INFORMATION_SIGN 112
#define IDI_ERROR_SIGN       113
#define IDI_WARNING_SIGN     114
#define IDI_PORT_CLOSED      115
#define IDI_PORT_OPEN        116
#define IDD_BOOT             131
#define IDD_SEND             132
#define IDD_RENAME           133
#define IDD_RECEIVE          134
#define IDD_SELECT_DEVICE    135
#define IDD_BAUD_RATE        136
#define IDB_BAND             256
#define IDV_RECEIVE          258
#define IDV_SEND             259
#define IDB_TOOLBAR          275

#define IDC_STATUS_BAR   276
#define IDC_COMMAND_EDIT 1001 // the edit field inside a combo box, numbered by the system
#define IDC_COMMAND      10000

// Controls of the file operations' dialogs and the small ones.
#ifndef IDC_STATIC
#define IDC_STATIC (-1)
#endif
#define IDC_CLIP          106
#define IDC_VERSION       1001
#define IDC_RENAME_TEXT   1002
#define IDC_NAME          1010
#define IDC_PROGRESS_LINE 1011
#define IDC_FILE_LINE     1012
#define IDC_FILE_BAR      1013
#define IDC_BATCH_BAR     1014
#define IDC_REBOOT        1015
#define IDC_NEW_NAME      1016
#define IDC_SUMMARY_LIST  1017
#define IDC_TIME_LEFT     1018

// Controls of the Options dialog.
#define IDC_SOUND_FILE       1006
#define IDC_SOUND_BROWSE     1007
#define IDC_SOUND_LIST       1008
#define IDC_IMAGE_BLOCK_SIZE 1009
#define IDC_LOG_FILE         1010
#define IDC_LOG_BROWSE       1011
#define IDC_DISPLAY_SUMMARY  1013
#define IDC_ASK_NAME         1014
#define IDC_USE_LOG          1015
#define IDC_SHOW_PROGRESS    1016
#define IDC_LOG_TIMES        1017

#define CMD_MACRO_FIRST    2000
#define CMD_MACRO_TENTH    2009
#define CMD_REBOOT         2010 // the accelerator's; of the menu, the eleventh macro's
#define CMD_MACRO_LAST     2999
#define CMD_EXIT           40001
#define CMD_FONT           40002
#define CMD_SEND_FILES     40003
#define CMD_BOOT_FILE      40004
#define CMD_BAUD_2400      40005
#define CMD_BAUD_4800      40006
#define CMD_BAUD_9600      40007
#define CMD_BAUD_19200     40008
#define CMD_BAUD_38400     40009
#define CMD_BAUD_57600     40010
#define CMD_BAUD_115200    40011
#define CMD_PORT_1         40014
#define CMD_PORT_2         40015
#define CMD_PORT_3         40016
#define CMD_PORT_4         40017
#define CMD_PORT_NONE      40018
#define CMD_CLEAR          40019
#define CMD_NEW_WINDOW     40020
#define CMD_LOAD_MACROS    40021
#define CMD_SEND_IMAGE     40022
#define CMD_CONTENTS       40023
#define CMD_ABOUT          40024
#define CMD_OPTIONS        40025
#define CMD_FILES          40026
#define CMD_PORT_OTHER     40028
#define CMD_FOCUS          40030
#define CMD_SUMMARY        40032
#define CMD_DEVICE_DEFAULT 40033
#define CMD_DEVICE_A       40034
#define CMD_DEVICE_B       40035
#define CMD_DEVICE_MP3     40036
#define CMD_DEVICE_CUSTOM  40037
#define CMD_RECEIVE_FILE   40038
#define CMD_BAUD_230400    40140
#define CMD_BAUD_460800    40141
#define CMD_BAUD_921600    40142
#define CMD_BAUD_OTHER     40143
#define CMD_PORT_FOUND     41000 // and n of a port that exists
#define CMD_PORT_FOUND_END 49999
#define CMD_FIND           40100
#define CMD_FIND_NEXT      40101
#define CMD_FIND_PREVIOUS  40102
#define CMD_SAVE_OUTPUT    40103
#define CMD_DROP_OLDEST    40104
#define CMD_ARRANGE        57649
