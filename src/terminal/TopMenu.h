#pragma once

// The places of the menus in the menu bar.
enum TopMenu { FileMenu, ViewMenu, PortMenu, BaudMenu, MacrosMenu, DeviceMenu };
