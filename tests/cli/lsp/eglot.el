;; What a user of Emacs sees, for editors_test.py.  -*- lexical-binding: t -*-

(require 'json)
(require 'flymake)

(defun wait-for (condition)
  (let ((end (+ (float-time) 20)))
    (while (not (funcall condition))
      (when (> (float-time) end) (error "Waited in vain"))
      (accept-process-output nil 0.02))))

(defun texts ()
  (mapcar #'flymake-diagnostic-text (flymake-diagnostics)))

(setq ipav-command (list (getenv "IPAV_PROGRAM") "lsp"))
(setq eglot-send-changes-idle-time 0 flymake-no-changes-timeout 0.1)
(find-file (getenv "IPAV_TEST_CANDIDATE"))
(nxml-mode)
(apply #'eglot (eglot--guess-contact))
(wait-for (lambda () (eglot-managed-p)))
(flymake-mode 1)

;; In batch mode no command ends, so that idle timers and hooks of the display
;; do not run by themselves.
(defun judged (condition)
  (wait-for (lambda () (eglot--signal-textDocument/didChange) (flymake-start)
              (funcall condition))))

(judged (lambda () (= 1 (length (texts)))))
(let* ((first (texts))
       (where (line-number-at-pos
               (flymake-diagnostic-beg (car (flymake-diagnostics))))))
  (goto-char (flymake-diagnostic-beg (car (flymake-diagnostics))))
  ;; The second fix: narrow the other address.
  (let* ((actions (jsonrpc-request (eglot--current-server-or-lose)
                                   :textDocument/codeAction
                                   (list :textDocument (eglot--TextDocumentIdentifier)
                                         :range (list :start (eglot--pos-to-lsp-position)
                                                      :end (eglot--pos-to-lsp-position))
                                         :context (list :diagnostics []))))
         (action (aref actions 1)))
    (eglot--apply-workspace-edit (plist-get action :edit))
    (judged (lambda () (null (texts))))
    (with-temp-file (getenv "IPAV_TEST_OUT")
      (insert (json-encode (list :line where :texts (vconcat first)
                                 :action (plist-get action :title)))))))
(kill-emacs 0)
