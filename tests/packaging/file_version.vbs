WScript.Echo "version " & CreateObject("Scripting.FileSystemObject").GetFileVersion(WScript.Arguments(0))
