# usage: check-installer.ps1 -Package FILE.msi
# Installs, repairs and removes the package with the machine's own Windows Installer and compares the registry and the
# folder. Needs an elevated prompt. Not yet run: no Windows was at hand when it was written.
param([Parameter(Mandatory)][string]$Package)
$ErrorActionPreference = 'Stop'

$addin = 'HKLM\SOFTWARE\Microsoft\Office\Outlook\Addins\NembraMeeting.OutlookAddin'
$class = 'HKLM\SOFTWARE\Classes\CLSID\{40F17626-1892-4A6D-891E-E1A77A483FC0}'
$keys = @(
    $addin, $class,
    'HKLM\SOFTWARE\Classes\NembraMeeting.OutlookAddin', 'HKLM\SOFTWARE\Classes\NembraMeeting.OutlookAddin.1',
    'HKLM\SOFTWARE\Classes\TypeLib\{712AA455-0C84-4E6F-B754-C84B08BB0681}'
)

function Invoke-Installer([string]$Arguments) {
    $log = New-TemporaryFile
    $run = Start-Process msiexec -ArgumentList "$Arguments /qn /norestart /l*v `"$log`"" -Wait -PassThru
    if ($run.ExitCode -ne 0) {
        Get-Content $log -Tail 60
        throw "msiexec $Arguments ended with $($run.ExitCode)"
    }
}

function Test-Key([string]$Key) { Test-Path "Registry::$Key" }

function Get-Entries {
    $keys | Where-Object { Test-Key $_ } | ForEach-Object { reg query $_ /s }
}

function Assert([bool]$Condition, [string]$Text) {
    if (-not $Condition) { throw $Text }
    Write-Output "ok: $Text"
}

Assert (-not (Get-Entries)) 'nothing is registered before'
Invoke-Installer "/i `"$Package`""
$installed = Get-Entries
foreach ($key in $keys) { Assert (Test-Key $key) "$key is there" }
$dll = (Get-ItemProperty "Registry::$class\InprocServer32").'(default)'
Assert (Test-Path $dll) "$dll is there"
Assert ((Get-ItemProperty "Registry::$addin").LoadBehavior -eq 3) 'LoadBehavior is 3'

Set-ItemProperty "Registry::$addin" LoadBehavior 2
Remove-Item $dll
Invoke-Installer "/i `"$Package`" REINSTALL=ALL REINSTALLMODE=amus"
Assert (Test-Path $dll) 'repair brings the file back'
Assert (-not (Compare-Object $installed (Get-Entries))) 'repair restores the registry'

Invoke-Installer "/x `"$Package`""
Assert (-not (Get-Entries)) 'removal leaves no registry entry'
Assert (-not (Test-Path (Split-Path $dll))) 'removal leaves no folder'
