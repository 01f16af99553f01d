' Holds the add-in's module until the file of the argument appears.
Dim addIn, files
Set files = CreateObject("Scripting.FileSystemObject")
Set addIn = CreateObject("NembraMeeting.OutlookAddin")
WScript.Echo "holding"
Do Until files.FileExists(WScript.Arguments(0))
    WScript.Sleep 50
Loop
