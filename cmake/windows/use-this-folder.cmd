@echo off
rem Tells the machine where the suite lies: in the folder of this file. Needs the rights of an administrator.
set folder=%~dp0
reg add HKLM\SOFTWARE\Varkel\Pelmora /v InstallDir /t REG_SZ /d "%folder:~0,-1%" /f /reg:64
