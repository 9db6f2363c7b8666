@echo off
rem A converter for ZoConsole: wraps a text file with a head and an end.
rem Usage: convert INPUT OUTPUT
setlocal DisableDelayedExpansion
if "%~2"=="" (
    echo usage: convert INPUT OUTPUT
    exit /b 2
)
if not exist "%~1" (
    echo convert: there is no "%~1"
    exit /b 1
)
> "%~2" echo melody "%~n1"
type "%~1" >> "%~2"
>> "%~2" echo end
