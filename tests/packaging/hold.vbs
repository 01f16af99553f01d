' Holds the add-in's module until the first file exists. The second file shows that it is held.
Dim addIn, files
Set files = CreateObject("Scripting.FileSystemObject")
Set addIn = CreateObject("NembraMeeting.OutlookAddin")
files.CreateTextFile(WScript.Arguments(1)).Close
Do Until files.FileExists(WScript.Arguments(0))
    WScript.Sleep 50
Loop
