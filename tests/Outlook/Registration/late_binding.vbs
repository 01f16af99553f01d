' A client that knows the add-in by its name only. Prints one line per call: what came back, or the error's number.
Option Explicit

Class Stranger
    Public Id
End Class

Sub Report(what, answer)
    If Err.Number <> 0 Then answer = "error " & Hex(Err.Number)
    WScript.Echo what & ": " & answer
    Err.Clear
End Sub

' The names must be called from the outermost level: a procedure would have an error handler of its own.
On Error Resume Next
Dim addIn, control, picture, answer
Set addIn = CreateObject("NembraMeeting.OutlookAddin")
Report "create", "done"

Set picture = addIn.OnLoadImage("402")
Report "image 402", "type " & picture.Type & ", " & picture.Width & " x " & picture.Height
Set picture = addIn.onloadimage("401")
Report "image 401, name in small letters", "type " & picture.Type
Set picture = addIn.OnLoadImage("abc")
Report "image abc", "an image"

Set control = New Stranger
control.Id = "BookMeetingAppointment"
answer = addIn.GetLabel(control)
Report "label", answer
answer = addIn.GetVisible(control)
Report "visible", answer
answer = addIn.GetEnable(control)
Report "enabled", answer
addIn.OnAction control
Report "action", "done"
addIn.OnLoad control
Report "load", "done"
addIn.OnLoad Nothing
Report "load nothing", "done"
answer = addIn.GetLabel()
Report "label of no control", answer
addIn.OnClose
Report "no such name", "done"
Set addIn = Nothing
